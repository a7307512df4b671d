#pragma once

#include "keelanim/base/export.h"

#include <cstdint>

// TiffTag: a 32-bit identifier, as registries use to number their entries.
class KEEL_API TiffTag {
public:
    constexpr TiffTag() = default;
    constexpr explicit TiffTag(std::uint32_t value) : fValue(value) {}
    constexpr std::uint32_t value() const { return fValue; }
    friend constexpr bool operator==(TiffTag a, TiffTag b) { return a.fValue == b.fValue; }

private:
    std::uint32_t fValue = 0;
};
