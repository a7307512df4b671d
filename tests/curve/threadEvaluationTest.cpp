// Curves are used by one thread at a time each, but two threads may evaluate
// two disjoint sets of curves at once: nothing evaluation shares may race.
// The sanitizer pass of the test script also builds this under
// ThreadSanitizer.

#include "support/museum.h"

#include <gtest/gtest.h>

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

}  // namespace
