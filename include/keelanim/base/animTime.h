#pragma once

#include "keelanim/base/array.h"
#include "keelanim/base/export.h"

#include <compare>
#include <cstdint>

// Time values of the engine.
//
// TanimTime counts signed 32-bit ticks at kTicksPerSecond; TtimeValue holds
// either single-precision seconds or ticks in one 32-bit slot, with a flag
// telling which. Keys store one form or the other; every operation that takes
// a time takes a TtimeValue.

inline constexpr int kTicksPerSecond = 6000;
// One tick in seconds, in single precision as float key times hold it.
inline constexpr float kOneTickSeconds = 1.0f / kTicksPerSecond;

// Units a host may express times in. Unit code 2 is seconds.
enum TtimeUnitSystem : int {
    kHours = 0,
    kMinutes = 1,
    kSeconds = 2,
    kMilliseconds = 3,
    kGames = 4,       // 15 frames per second
    kFilm = 5,        // 24 frames per second
    kPALFrame = 6,    // 25 frames per second
    kNTSCFrame = 7,   // 30 frames per second
    kShowScan = 8,    // 48 frames per second
    kPALField = 9,    // 50 fields per second
    kNTSCField = 10,  // 60 fields per second
    kTicks = 11,
};

// Ticks in one unit; 0 for a code that names no unit.
KEEL_API double ticksPerUnit(TtimeUnitSystem unit);

// A time in ticks. Arithmetic saturates at the ends of the 32-bit range
// instead of wrapping.
class KEEL_API TanimTime {
public:
    constexpr TanimTime() = default;
    // Converts a value in `unit` to the nearest tick (ties to even), clamped
    // to the 32-bit range. NaN and unknown units give 0 ticks.
    TanimTime(double value, TtimeUnitSystem unit);
    static constexpr TanimTime fromTicks(std::int32_t ticks) { return TanimTime(ticks, TtickCount{}); }

    constexpr std::int32_t ticks() const { return fTicks; }
    double valueInThisUnit(TtimeUnitSystem unit) const;
    double seconds() const { return fTicks / double(kTicksPerSecond); }

    friend constexpr bool operator==(TanimTime a, TanimTime b) { return a.fTicks == b.fTicks; }
    friend constexpr auto operator<=>(TanimTime a, TanimTime b) { return a.fTicks <=> b.fTicks; }
    friend KEEL_API TanimTime operator+(TanimTime a, TanimTime b);
    friend KEEL_API TanimTime operator-(TanimTime a, TanimTime b);

private:
    struct TtickCount {};
    constexpr TanimTime(std::int32_t ticks, TtickCount) : fTicks(ticks) {}
    std::int32_t fTicks = 0;
};

// One 32-bit slot holding either float seconds or TanimTime ticks.
//
// Comparison and arithmetic work across both forms: two tick values compare
// and combine exactly as integers; as soon as one side is in seconds, both
// are read as seconds and the result is in seconds.
class KEEL_API TtimeValue {
public:
    TtimeValue() = default;  // 0 seconds
    explicit TtimeValue(float seconds);
    TtimeValue(TanimTime time);  // NOLINT(google-explicit-constructor): lossless

    bool isTicks() const { return fIsTicks; }
    // The time in seconds; ticks are divided by kTicksPerSecond.
    double seconds() const;
    // The slot read as float seconds, or as ticks; meaningful for the form
    // that isTicks() names.
    float floatSeconds() const;
    TanimTime animTime() const;
    // The time in ticks whatever the form (seconds rounded to the nearest tick).
    TanimTime asAnimTime() const;
    std::uint32_t rawSlot() const { return fSlot; }

    friend KEEL_API bool operator==(TtimeValue const& a, TtimeValue const& b);
    friend KEEL_API bool operator<(TtimeValue const& a, TtimeValue const& b);
    friend bool operator!=(TtimeValue const& a, TtimeValue const& b) { return !(a == b); }
    friend bool operator>(TtimeValue const& a, TtimeValue const& b) { return b < a; }
    friend bool operator<=(TtimeValue const& a, TtimeValue const& b) { return !(b < a); }
    friend bool operator>=(TtimeValue const& a, TtimeValue const& b) { return !(a < b); }

    friend KEEL_API TtimeValue operator+(TtimeValue const& a, TtimeValue const& b);
    friend KEEL_API TtimeValue operator-(TtimeValue const& a, TtimeValue const& b);
    // The ratio of two times; 0 when the divisor is zero.
    friend KEEL_API double operator/(TtimeValue const& a, TtimeValue const& b);
    // Scales the time, keeping its form (ticks are rounded to the nearest tick).
    friend KEEL_API TtimeValue operator*(TtimeValue const& a, float const& factor);

private:
    std::uint32_t fSlot = 0;
    bool fIsTicks = false;
};

using TtimeValueArray = TtypedArray<TtimeValue>;
using TanimTimeArray = TtypedArray<TanimTime>;
using TtimeValueArrayPtrArray = TtypedArray<TtimeValueArray*>;
