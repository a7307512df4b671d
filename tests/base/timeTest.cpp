#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr double kExact = 0.0;
constexpr double kAngleTolerance = 1e-12;
constexpr std::int32_t kMaxTicks = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMinTicks = std::numeric_limits<std::int32_t>::min();

TEST(AnimTime, UnitsConvertBothWays)
{
    struct Case {
        double fValue;
        TtimeUnitSystem fUnit;
        int fTicks;
    };
    Case const cases[] = {
        {1.0, kSeconds, 6000},   {-2.5, kSeconds, -15000},     {1.0, kFilm, 250}, {3.0, kNTSCFrame, 600},
        {1.0, kMinutes, 360000}, {500.0, kMilliseconds, 3000}, {7.0, kTicks, 7},  {1.0, kPALFrame, 240},
    };
    for (Case const& c : cases) {
        TanimTime const t(c.fValue, c.fUnit);
        EXPECT_EQ(t.ticks(), c.fTicks) << c.fValue << " in unit " << c.fUnit;
        EXPECT_NEAR(t.valueInThisUnit(c.fUnit), c.fValue, kExact);
    }
}

TEST(AnimTime, RoundsTiesToEvenClampsSaturatesAndRefusesNaN)
{
    EXPECT_EQ(TanimTime(0.5, kTicks).ticks(), 0);
    EXPECT_EQ(TanimTime(1.5, kTicks).ticks(), 2);
    EXPECT_EQ(TanimTime(-2.5, kTicks).ticks(), -2);
    EXPECT_EQ(TanimTime(1e12, kSeconds).ticks(), kMaxTicks);
    EXPECT_EQ(TanimTime(-1e12, kSeconds).ticks(), kMinTicks);
    EXPECT_EQ(TanimTime(std::nan(""), kSeconds).ticks(), 0);
    EXPECT_EQ(TanimTime(1.0, static_cast<TtimeUnitSystem>(99)).ticks(), 0);
    EXPECT_EQ(TanimTime::fromTicks(5).valueInThisUnit(static_cast<TtimeUnitSystem>(-1)), 0.0);
    EXPECT_EQ((TanimTime::fromTicks(kMaxTicks) + TanimTime::fromTicks(10)).ticks(), kMaxTicks);
    EXPECT_EQ((TanimTime::fromTicks(kMinTicks) - TanimTime::fromTicks(10)).ticks(), kMinTicks);
    EXPECT_LT(TanimTime::fromTicks(-6000), TanimTime::fromTicks(0));
}

TEST(TimeValue, FormsConversionsAndComparisonAcrossForms)
{
    TtimeValue const zero;
    EXPECT_FALSE(zero.isTicks());
    EXPECT_EQ(zero.seconds(), 0.0);
    TtimeValue const seconds(1.5f);
    EXPECT_FALSE(seconds.isTicks());
    EXPECT_EQ(seconds.asAnimTime().ticks(), 9000);
    TtimeValue const halfTicks(TanimTime::fromTicks(3000));
    EXPECT_TRUE(halfTicks.isTicks());
    EXPECT_EQ(halfTicks.seconds(), 0.5);

    TtimeValue const half(0.5f);
    EXPECT_TRUE(half == halfTicks);
    EXPECT_FALSE(half != halfTicks);
    EXPECT_TRUE(TtimeValue(TanimTime::fromTicks(-1)) < TtimeValue(TanimTime::fromTicks(0)));
    EXPECT_TRUE(TtimeValue(0.4f) < halfTicks);
    EXPECT_TRUE(halfTicks <= half);
    EXPECT_TRUE(halfTicks >= half);
    EXPECT_FALSE(halfTicks > half);
}

TEST(TimeValue, ArithmeticKeepsTicksOnlyWhenBothAreTicks)
{
    TtimeValue const a(TanimTime::fromTicks(6000));
    TtimeValue const b(TanimTime::fromTicks(1500));
    TtimeValue const sum = a + b;
    EXPECT_TRUE(sum.isTicks());
    EXPECT_EQ(sum.animTime().ticks(), 7500);
    EXPECT_EQ((a - b).animTime().ticks(), 4500);
    TtimeValue const mixed = a + TtimeValue(0.25f);
    EXPECT_FALSE(mixed.isTicks());
    EXPECT_EQ(mixed.seconds(), 1.25);
    EXPECT_EQ(a / b, 4.0);
    EXPECT_EQ(a / TtimeValue(), 0.0) << "division by a zero time answers 0";
    EXPECT_EQ((b * 2.5f).animTime().ticks(), 3750);
    EXPECT_EQ((TtimeValue(2.0f) * 0.5f).seconds(), 1.0);
    EXPECT_EQ((TtimeValue(3e38f) * 10.0f).seconds(), double(kFloatMax)) << "seconds clamp, never overflow";
}

TEST(Angle, UnitsQuarterAndSum)
{
    Tangle const right(90.0, kDegrees);
    EXPECT_NEAR(right.radians(), Tangle::sQuarter.radians(), 1e-15);
    EXPECT_NEAR((right + Tangle::sQuarter).degrees(), 180.0, kAngleTolerance);
    EXPECT_NEAR(Tangle(270.0, kDegrees, true).degrees(), -90.0, kAngleTolerance);
    EXPECT_NEAR(Tangle(-180.0, kDegrees, true).degrees(), 180.0, kAngleTolerance) << "wrapping keeps (-180, 180]";
    EXPECT_NEAR(Tangle(60.0, kAngularMinutes).degrees(), 1.0, kAngleTolerance);
}

TEST(Numeric, SplitWholeIsModfBitForBit)
{
    double const inf = std::numeric_limits<double>::infinity();
    for (double value : {0.0, -0.0, 0.5, -0.5, 3.0, -3.0, 7.25, -7.25, 1e-300, -1e-300, 4503599627370495.5,
                         -4503599627370495.5, 0x1p52, -0x1p52, 0x1p52 + 1.0, 1e300, -1e300, inf, -inf}) {
        double whole = 0.0;
        double expectedWhole = 0.0;
        double const fraction = splitWhole(value, whole);
        double const expected = std::modf(value, &expectedWhole);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(fraction), std::bit_cast<std::uint64_t>(expected)) << value;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(whole), std::bit_cast<std::uint64_t>(expectedWhole)) << value;
    }
    double whole = 0.0;
    EXPECT_TRUE(std::isnan(splitWhole(std::nan(""), whole)));
    EXPECT_TRUE(std::isnan(whole));
}

TEST(Numeric, ClampsWithoutUndefinedBehaviour)
{
    EXPECT_EQ(narrowToFloat(1e300), kFloatMax);
    EXPECT_EQ(narrowToFloat(-std::numeric_limits<double>::infinity()), -kFloatMax);
    EXPECT_TRUE(std::isnan(narrowToFloat(std::nan(""))));
    EXPECT_EQ(clampToInt32(2.5), 2);
    EXPECT_EQ(clampToInt32(3.5), 4);
    EXPECT_EQ(snapToZero(9e-6, 1e-5), 0.0);
    EXPECT_EQ(snapToZero(-1e-5, 1e-5), -1e-5) << "the tolerance itself is not snapped";
}

}  // namespace
