#pragma once

#include "keelanim/base/export.h"

#include <cstdint>

// TenvironmentVariable: one environment variable, read when asked.
class KEEL_API TenvironmentVariable {
public:
    explicit TenvironmentVariable(char const* name);

    bool isSet() const;
    // The value as a decimal (or 0x hexadecimal) 32-bit integer. `fallback`
    // when the variable is unset, empty, not wholly a number, or out of range.
    std::int32_t asInt32(std::int32_t fallback) const;

private:
    char const* fName;
};
