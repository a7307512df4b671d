#pragma once

// Every library of the engine is built with hidden symbol visibility; the
// classes and functions a host may use carry KEEL_API. On ELF platforms the
// same attribute serves both the library that defines a symbol and the code
// that imports it.
#if defined(__GNUC__) || defined(__clang__)
#define KEEL_API __attribute__((visibility("default")))
#else
#define KEEL_API
#endif
