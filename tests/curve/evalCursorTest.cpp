// Evaluation through a caller's cursor, and in bulk, answers exactly what
// the curve's own evaluate() answers, whatever the order of the times, and
// follows edits, other curves and curves that are gone.

#include "support/curveBuilders.h"
#include "support/museum.h"

#include <keelanim/curve/evalCursor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace {

// Every fortieth of a second from -3 s to 7 s, then the same shuffled.
std::vector<float> sampleTimes()
{
    std::vector<float> times;
    for (int i = -120; i <= 280; ++i) {
        times.push_back(float(i) / 40.0f);
    }
    std::vector<float> shuffled = times;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(3));
    times.insert(times.end(), shuffled.begin(), shuffled.end());
    return times;
}

bool sameBits(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

TEST(CursorEvaluation, EveryExhibitAnswersAsItsOwnEvaluateInAnyOrder)
{
    std::vector<float> const times = sampleTimes();
    for (auto const& exhibit : keeltest::museum()) {
        auto own = exhibit.fBuild();
        auto const shared = exhibit.fBuild();
        TevalCursor cursor;
        int differing = 0;
        for (float t : times) {
            TtimeValue const time = shared->isFloatCurve() ? TtimeValue(t) : TtimeValue(TanimTime(t, kSeconds));
            differing += sameBits(shared->evaluate(time, cursor), own->evaluate(time)) ? 0 : 1;
            differing += sameBits(shared->evaluate(t, cursor), own->evaluate(t)) ? 0 : 1;
        }
        EXPECT_EQ(differing, 0) << exhibit.fName;
    }
}

TEST(CursorEvaluation, FollowsEditsOtherCurvesAndCurvesThatAreGone)
{
    auto first = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 2.0}, {2.0f, 1.0}});
    auto second = keeltest::floatCurve({{0.0f, 5.0}, {4.0f, -5.0}});
    TevalCursor cursor;
    EXPECT_EQ(first->evaluate(0.5f, cursor), first->evaluate(0.5f));
    first->setValue(1, 8.0);  // the span the cursor holds changes shape
    EXPECT_EQ(first->evaluate(0.6f, cursor), first->evaluate(0.6f));
    EXPECT_EQ(second->evaluate(0.6f, cursor), second->evaluate(0.6f)) << "another curve";
    EXPECT_EQ(first->evaluate(0.6f, cursor), first->evaluate(0.6f)) << "and back";
    first.reset();
    auto third = keeltest::floatCurve({{0.0f, 1.0}, {1.0f, 1.5}});  // maybe where the first was
    EXPECT_EQ(third->evaluate(0.6f, cursor), third->evaluate(0.6f));
    cursor.reset();
    EXPECT_EQ(third->evaluate(0.7f, cursor), third->evaluate(0.7f));
}

TEST(BulkEvaluation, ManyTimesAndManyCurvesAnswerAsSingleCalls)
{
    std::vector<float> const seconds = sampleTimes();
    std::vector<TtimeValue> times(seconds.begin(), seconds.end());
    std::vector<std::unique_ptr<TparamCurve>> curves;
    std::vector<TparamCurve*> pointers;
    for (auto const& exhibit : keeltest::museum()) {
        curves.push_back(exhibit.fBuild());
        pointers.push_back(curves.back().get());
    }
    pointers.push_back(nullptr);
    for (auto const& curve : curves) {
        auto single = keeltest::museum()[std::size_t(&curve - curves.data())].fBuild();
        std::vector<double> fromFloats(seconds.size());
        std::vector<double> fromTimes(times.size());
        std::vector<double> fromCursor(times.size());
        TevalCursor cursor;
        ASSERT_TRUE(curve->evaluate(std::span<float const>(seconds), std::span<double>(fromFloats)));
        ASSERT_TRUE(curve->evaluate(std::span<TtimeValue const>(times), std::span<double>(fromTimes)));
        ASSERT_TRUE(std::as_const(*curve).evaluate(std::span<TtimeValue const>(times), fromCursor, cursor));
        for (std::size_t i = 0; i < seconds.size(); ++i) {
            double const expected = single->evaluate(seconds[i]);
            ASSERT_TRUE(sameBits(fromFloats[i], expected) && sameBits(fromTimes[i], single->evaluate(times[i])) &&
                        sameBits(fromCursor[i], fromTimes[i]))
                << "at " << seconds[i] << " s";
        }
    }
    std::vector<double> values(pointers.size(), -1.0);
    ASSERT_TRUE(TparamCurve::evaluate(std::span<TparamCurve* const>(pointers), TtimeValue(1.25f), values));
    for (std::size_t i = 0; i + 1 < pointers.size(); ++i) {
        EXPECT_TRUE(sameBits(values[i], keeltest::museum()[i].fBuild()->evaluate(1.25f))) << i;
    }
    EXPECT_EQ(values.back(), 0.0) << "a null curve";
}

TEST(BulkEvaluation, ShortOutputsAreRefusedUntouched)
{
    auto curve = keeltest::floatCurve({{0.0f, 1.0}, {1.0f, 3.0}});
    std::vector<float> const seconds = {0.0f, 0.5f, 1.0f};
    std::vector<TtimeValue> const times(seconds.begin(), seconds.end());
    std::vector<double> values(2, -7.0);
    TevalCursor cursor;
    TparamCurve* const curves[] = {curve.get(), curve.get(), curve.get()};
    EXPECT_FALSE(curve->evaluate(std::span<float const>(seconds), std::span<double>(values)));
    EXPECT_FALSE(curve->evaluate(std::span<TtimeValue const>(times), std::span<double>(values)));
    EXPECT_FALSE(std::as_const(*curve).evaluate(std::span<TtimeValue const>(times), values, cursor));
    EXPECT_FALSE(TparamCurve::evaluate(std::span<TparamCurve* const>(curves), TtimeValue(0.5f), values));
    EXPECT_EQ(values, std::vector<double>(2, -7.0));
    EXPECT_TRUE(curve->evaluate(std::span<float const>(), std::span<double>())) << "nothing asked, nothing written";
}

}  // namespace
