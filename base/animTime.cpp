#include "keelanim/base/animTime.h"

#include "keelanim/base/numeric.h"

#include <bit>
#include <cmath>

double ticksPerUnit(TtimeUnitSystem unit)
{
    switch (unit) {
    case kHours: return 3600.0 * kTicksPerSecond;
    case kMinutes: return 60.0 * kTicksPerSecond;
    case kSeconds: return kTicksPerSecond;
    case kMilliseconds: return kTicksPerSecond / 1000.0;
    case kGames: return kTicksPerSecond / 15.0;
    case kFilm: return kTicksPerSecond / 24.0;
    case kPALFrame: return kTicksPerSecond / 25.0;
    case kNTSCFrame: return kTicksPerSecond / 30.0;
    case kShowScan: return kTicksPerSecond / 48.0;
    case kPALField: return kTicksPerSecond / 50.0;
    case kNTSCField: return kTicksPerSecond / 60.0;
    case kTicks: return 1.0;
    }
    return 0.0;
}

TanimTime::TanimTime(double value, TtimeUnitSystem unit) : fTicks(clampToInt32(value * ticksPerUnit(unit))) {}

double TanimTime::valueInThisUnit(TtimeUnitSystem unit) const
{
    double const perUnit = ticksPerUnit(unit);
    return perUnit == 0.0 ? 0.0 : fTicks / perUnit;
}

TanimTime operator+(TanimTime a, TanimTime b)
{
    return TanimTime::fromTicks(clampToInt32(double(a.fTicks) + double(b.fTicks)));
}

TanimTime operator-(TanimTime a, TanimTime b)
{
    return TanimTime::fromTicks(clampToInt32(double(a.fTicks) - double(b.fTicks)));
}

TtimeValue::TtimeValue(float seconds) : fSlot(std::bit_cast<std::uint32_t>(seconds)) {}

TtimeValue::TtimeValue(TanimTime time) : fSlot(std::bit_cast<std::uint32_t>(time.ticks())), fIsTicks(true) {}

float TtimeValue::floatSeconds() const
{
    return fIsTicks ? narrowToFloat(seconds()) : std::bit_cast<float>(fSlot);
}

double TtimeValue::seconds() const
{
    if (fIsTicks) {
        return std::bit_cast<std::int32_t>(fSlot) / double(kTicksPerSecond);
    }
    return std::bit_cast<float>(fSlot);
}

TanimTime TtimeValue::animTime() const
{
    return fIsTicks ? TanimTime::fromTicks(std::bit_cast<std::int32_t>(fSlot)) : asAnimTime();
}

TanimTime TtimeValue::asAnimTime() const
{
    if (fIsTicks) {
        return TanimTime::fromTicks(std::bit_cast<std::int32_t>(fSlot));
    }
    return TanimTime::fromTicks(clampToInt32(seconds() * kTicksPerSecond));
}

bool operator==(TtimeValue const& a, TtimeValue const& b)
{
    if (a.fIsTicks && b.fIsTicks) {
        return a.fSlot == b.fSlot;
    }
    return a.seconds() == b.seconds();
}

bool operator<(TtimeValue const& a, TtimeValue const& b)
{
    if (a.fIsTicks && b.fIsTicks) {
        return a.animTime() < b.animTime();
    }
    return a.seconds() < b.seconds();
}

TtimeValue operator+(TtimeValue const& a, TtimeValue const& b)
{
    if (a.fIsTicks && b.fIsTicks) {
        return TtimeValue(a.animTime() + b.animTime());
    }
    return TtimeValue(narrowToFloat(a.seconds() + b.seconds()));
}

TtimeValue operator-(TtimeValue const& a, TtimeValue const& b)
{
    if (a.fIsTicks && b.fIsTicks) {
        return TtimeValue(a.animTime() - b.animTime());
    }
    return TtimeValue(narrowToFloat(a.seconds() - b.seconds()));
}

double operator/(TtimeValue const& a, TtimeValue const& b)
{
    double const divisor = b.seconds();
    return divisor == 0.0 ? 0.0 : a.seconds() / divisor;
}

TtimeValue operator*(TtimeValue const& a, float const& factor)
{
    if (a.fIsTicks) {
        return TtimeValue(TanimTime::fromTicks(clampToInt32(double(a.animTime().ticks()) * factor)));
    }
    return TtimeValue(narrowToFloat(a.seconds() * factor));
}
