#pragma once

#include <cstddef>
#include <cstdint>

// Runs one input through the engine: the bytes choose a sequence of calls on
// curves of both time forms and a rotation triple, grouped into undo steps.
// After every call the curves must hold their invariants (keys in order at
// distinct times, nothing but finite numbers in a key, finite values at
// finite times); at the end, undoing every step must give back the first
// curves exactly and redoing them the last. A broken invariant prints what
// broke and aborts, which the fuzzer reports as a crash.
void runFuzzInput(std::uint8_t const* data, std::size_t size);
