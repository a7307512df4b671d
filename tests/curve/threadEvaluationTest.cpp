// Curves are used by one thread at a time each, but two threads may evaluate
// two disjoint sets of curves at once: nothing evaluation shares may race.
// Through cursors of their own, two threads may also evaluate the same
// curves at once. The sanitizer pass of the test script also builds this
// under ThreadSanitizer.

#include "support/museum.h"

#include <gtest/gtest.h>

#include <keelanim/curve/evalCursor.h>

#include <algorithm>
#include <random>
#include <thread>
#include <vector>

namespace {

double sweep(std::vector<std::unique_ptr<TparamCurve>> const& curves)
{
    double sum = 0.0;
    for (int frame = -48; frame < 240; ++frame) {
        for (auto const& curve : curves) {
            sum += curve->evaluate(float(frame) / 24.0f);
        }
    }
    return sum;
}

TEST(ThreadedEvaluation, DisjointCurveSetsEvaluateTheSameOnTwoThreads)
{
    std::vector<std::unique_ptr<TparamCurve>> first;
    std::vector<std::unique_ptr<TparamCurve>> second;
    std::vector<std::unique_ptr<TparamCurve>> alone;
    for (int copy = 0; copy < 4; ++copy) {
        for (auto const& exhibit : keeltest::museum()) {
            first.push_back(exhibit.fBuild());
            second.push_back(exhibit.fBuild());
            alone.push_back(exhibit.fBuild());
        }
    }
    double const expected = sweep(alone);
    double fromOther = 0.0;
    std::thread other([&] { fromOther = sweep(second); });
    double const fromThis = sweep(first);
    other.join();
    EXPECT_EQ(fromThis, expected);
    EXPECT_EQ(fromOther, expected);
}

// Each curve at every frame, then at shuffled frames, through one cursor
// per curve: the values, in order.
std::vector<double> sweepThroughCursors(std::vector<std::unique_ptr<TparamCurve>> const& curves, unsigned seed)
{
    std::vector<float> frames;
    for (int frame = -48; frame < 240; ++frame) {
        frames.push_back(float(frame) / 24.0f);
    }
    std::vector<float> shuffled = frames;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(seed));
    frames.insert(frames.end(), shuffled.begin(), shuffled.end());
    std::vector<TevalCursor> cursors(curves.size());
    std::vector<double> values;
    for (float t : frames) {
        for (std::size_t c = 0; c < curves.size(); ++c) {
            values.push_back(std::as_const(*curves[c]).evaluate(t, cursors[c]));
        }
    }
    return values;
}

TEST(ThreadedEvaluation, OneCurveSetSharedByTwoThreadsThroughTheirOwnCursors)
{
    std::vector<std::unique_ptr<TparamCurve>> shared;
    std::vector<std::unique_ptr<TparamCurve>> alone;
    for (auto const& exhibit : keeltest::museum()) {
        shared.push_back(exhibit.fBuild());
        alone.push_back(exhibit.fBuild());
    }
    std::vector<double> const expected = sweepThroughCursors(alone, 1);
    std::vector<double> fromOther;
    std::thread other([&] { fromOther = sweepThroughCursors(shared, 1); });
    std::vector<double> const fromThis = sweepThroughCursors(shared, 1);
    other.join();
    EXPECT_EQ(fromThis, expected);
    EXPECT_EQ(fromOther, expected);
}

// Quaternion channels fill caches their triple shares: evaluations through
// cursors take turns on them, and give what the channels' own give.
TEST(ThreadedEvaluation, AQuaternionTripleSharedByTwoThreadsThroughTheirOwnCursors)
{
    TparamCurve channels[3];
    TrotationTriple triple(channels[0], channels[1], channels[2]);
    for (int i = 0; i < 12; ++i) {
        triple.setKey(TtimeValue(float(i)), TrotateXYZ{0.7 * i, 0.3 * i - 1.0, 2.9 - 0.5 * i}, kTangentSpline,
                      kTangentSpline);
    }
    ASSERT_TRUE(triple.setRotationInterpolation(TparamCurveEnums::kQuaternionSlerp));
    std::vector<double> expected;
    for (int frame = -24; frame < 300; ++frame) {
        for (TparamCurve& channel : channels) {
            expected.push_back(channel.evaluate(float(frame) / 24.0f));
        }
    }
    auto sweep = [&channels] {
        TevalCursor cursors[3];
        std::vector<double> values;
        for (int frame = -24; frame < 300; ++frame) {
            for (int c = 0; c < 3; ++c) {
                values.push_back(std::as_const(channels[c]).evaluate(float(frame) / 24.0f, cursors[c]));
            }
        }
        return values;
    };
    std::vector<double> fromOther;
    std::thread other([&] { fromOther = sweep(); });
    std::vector<double> const fromThis = sweep();
    other.join();
    EXPECT_EQ(fromThis, expected);
    EXPECT_EQ(fromOther, expected);
}

}  // namespace
