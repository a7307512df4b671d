#include "keelanim/base/environment.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>

TenvironmentVariable::TenvironmentVariable(char const* name) : fName(name) {}

bool TenvironmentVariable::isSet() const
{
    return fName != nullptr && std::getenv(fName) != nullptr;
}

std::int32_t TenvironmentVariable::asInt32(std::int32_t fallback) const
{
    char const* text = fName != nullptr ? std::getenv(fName) : nullptr;
    if (text == nullptr || *text == '\0') {
        return fallback;
    }
    char* end = nullptr;
    errno = 0;
    long long const value = std::strtoll(text, &end, 0);
    if (errno != 0 || end == text || *end != '\0' || value < std::numeric_limits<std::int32_t>::min() ||
        value > std::numeric_limits<std::int32_t>::max()) {
        return fallback;
    }
    return static_cast<std::int32_t>(value);
}
