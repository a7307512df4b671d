#include "keelanim/base/numeric.h"

#include <cmath>
#include <limits>

namespace {
constexpr double kInt32Min = std::numeric_limits<std::int32_t>::min();
constexpr double kInt32Max = std::numeric_limits<std::int32_t>::max();
}  // namespace

std::int32_t clampToInt32(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    double const rounded = std::nearbyint(std::fmin(std::fmax(value, kInt32Min), kInt32Max));
    return static_cast<std::int32_t>(std::fmin(std::fmax(rounded, kInt32Min), kInt32Max));
}
