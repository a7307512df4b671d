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

}  // namespace
