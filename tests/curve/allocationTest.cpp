// Evaluation must not allocate: every global operator new of the test
// program is counted here.

#include "support/museum.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> sAllocations{0};
}  // namespace

// These replace the global operators, so malloc and free pair correctly;
// the compiler cannot see that.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t bytes)
{
    ++sAllocations;
    if (void* block = std::malloc(bytes == 0 ? 1 : bytes)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

namespace {

long allocationsDuring(TparamCurve& curve, float from, float to, float step)
{
    long const before = sAllocations.load();
    double sum = 0.0;
    for (float t = from; step > 0 ? t <= to : t >= to; t += step) {
        sum += curve.evaluate(t);
    }
    EXPECT_TRUE(std::isfinite(sum));
    return sAllocations.load() - before;
}

TEST(EvaluationAllocations, SweepsAllocateNothing)
{
    for (auto const& exhibit : keeltest::museum()) {
        auto curve = exhibit.fBuild();
        curve->evaluate(0.5f);  // the first span builds the curve's segment
        EXPECT_EQ(allocationsDuring(*curve, -2.0f, 6.0f, 1.0f / 24.0f), 0) << exhibit.fName << " forward";
        EXPECT_EQ(allocationsDuring(*curve, 6.0f, -2.0f, -1.0f / 24.0f), 0) << exhibit.fName << " backward";
        EXPECT_EQ(allocationsDuring(*curve, -200.0f, 200.0f, 0.37f), 0) << exhibit.fName << " strided";
    }
}

// Keys added after evaluation grow the curve's copy of the key times during
// the edit: the next random and swept evaluations still allocate nothing.
TEST(EvaluationAllocations, EditsLeaveEvaluationAllocationFree)
{
    for (bool floatTime : {true, false}) {
        TparamCurve curve(floatTime);
        for (int i = 0; i < 4; ++i) {
            curve.add(Tkeyframe(TanimTime(i, kSeconds), double(i % 2), kTangentFixed, kTangentFixed));
        }
        curve.evaluate(TtimeValue(TanimTime(1, kSeconds)));
        for (int i = 4; i < 300; ++i) {
            curve.add(Tkeyframe(TanimTime(i, kSeconds), double(i % 3), kTangentFixed, kTangentFixed));
        }
        long const before = sAllocations.load();
        double sum = 0.0;
        for (int i = 0; i < 600; ++i) {
            sum += curve.evaluate(TtimeValue(TanimTime::fromTicks((i * 7919) % (299 * kTicksPerSecond))));
        }
        EXPECT_TRUE(std::isfinite(sum));
        EXPECT_EQ(sAllocations.load() - before, 0) << (floatTime ? "float" : "tick") << " curve";
        EXPECT_EQ(allocationsDuring(curve, 0.0f, 299.0f, 1.0f / 24.0f), 0);
    }
}

TEST(EvaluationAllocations, CountingSeesTheEnginesAllocations)
{
    long const before = sAllocations.load();
    TparamCurve curve(true);  // the engine allocates its key array inside the library
    EXPECT_GE(sAllocations.load() - before, 1) << "the counter must see the library's operator new";
}

}  // namespace
