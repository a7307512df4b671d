// Speed work on evaluation must not change a single bit of its results: the
// museum curves are compared with values recorded before it.

#include "support/museum.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

#include "museumGolden.inc"

TEST(EvaluationGoldenValues, MuseumCurvesEvaluateBitForBit)
{
    std::size_t next = 0;
    for (auto const& exhibit : keeltest::museum()) {
        auto curve = exhibit.fBuild();
        for (int i = -120; i <= 280; ++i) {
            ASSERT_LT(next, std::size(kMuseumGolden));
            float const t = float(i) / 40.0f;
            double const value = curve->evaluate(t);
            std::uint64_t bits = 0;
            std::memcpy(&bits, &value, sizeof bits);
            ASSERT_EQ(bits, kMuseumGolden[next]) << exhibit.fName << " at " << t << ": " << value;
            ++next;
        }
    }
    EXPECT_EQ(next, std::size(kMuseumGolden));
}

}  // namespace
