// Speed work on evaluation must not change a single bit of its results: the
// museum curves are compared with values recorded before it.

#include "support/museum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

namespace {

#include "museumGolden.inc"

constexpr int kFirstSample = -120;
constexpr int kSamplesPerCurve = 401;  // every fortieth of a second from -3 s to 7 s

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

TEST(EvaluationGoldenValues, MuseumCurvesEvaluateBitForBit)
{
    std::size_t next = 0;
    for (auto const& exhibit : keeltest::museum()) {
        auto curve = exhibit.fBuild();
        for (int i = 0; i < kSamplesPerCurve; ++i) {
            ASSERT_LT(next, std::size(kMuseumGolden));
            float const t = float(kFirstSample + i) / 40.0f;
            double const value = curve->evaluate(t);
            ASSERT_EQ(bitsOf(value), kMuseumGolden[next]) << exhibit.fName << " at " << t << ": " << value;
            ++next;
        }
    }
    EXPECT_EQ(next, std::size(kMuseumGolden));
}

// The same times in a shuffled order: random access takes the searching
// paths (and the sweep shortcut rarely), and must give the same bits.
TEST(EvaluationGoldenValues, ShuffledOrderGivesTheSameBits)
{
    std::mt19937 random(5);
    std::size_t base = 0;
    for (auto const& exhibit : keeltest::museum()) {
        auto curve = exhibit.fBuild();
        std::vector<int> order(kSamplesPerCurve);
        std::iota(order.begin(), order.end(), 0);
        std::shuffle(order.begin(), order.end(), random);
        for (int i : order) {
            float const t = float(kFirstSample + i) / 40.0f;
            double const value = curve->evaluate(t);
            ASSERT_EQ(bitsOf(value), kMuseumGolden[base + std::size_t(i)]) << exhibit.fName << " at " << t;
        }
        base += kSamplesPerCurve;
    }
}

}  // namespace
