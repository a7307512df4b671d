// Speed work on evaluation must not change a single bit of its results: the
// museum curves are compared with the values recorded before it, in
// tests/data/museumGolden.txt (written by scripts/regenerate-golden.sh).
//
// One exception: inside weighted (Bezier) spans the input equation X(u) = x
// is now solved by guarded Newton steps where the baseline came from
// Brent's method. Both stop within two machine epsilons of the root, but not
// on the same bits, so values there may differ by a few units in the last
// place of the span's largest control value (the largest seen is 10, on a
// span whose handles cross and whose input is nearly flat; the baseline
// itself is 4 from the exact root there). Units of the value itself would
// not do: near a zero crossing they shrink without bound. Everywhere else
// the values stay bit for bit.

#include "support/goldenSamples.h"
#include "support/museum.h"

#include <keelanim/segments/bezier.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using keeltest::goldenTimeText;
using keeltest::goldenValueText;

struct TgoldenCurve {
    std::vector<float> fTimes;
    std::vector<double> fValues;
};

struct Tbaseline {
    std::map<std::string, TgoldenCurve> fCurves;
    std::vector<std::string> fProblems;  // what made the file unreadable, by line
};

// The whole text must be the number: "1.5x" is no sample.
template <class Tnumber> bool parseWhole(std::string_view text, Tnumber& number)
{
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

Tbaseline readBaseline(std::string const& path)
{
    Tbaseline baseline;
    std::ifstream in(path);
    if (!in) {
        baseline.fProblems.push_back("cannot read " + path);
        return baseline;
    }
    std::string_view const prefix = keeltest::kGoldenCurvePrefix;
    TgoldenCurve* current = nullptr;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        std::string const where = path + ":" + std::to_string(number) + ": ";
        if (line.starts_with(prefix)) {
            auto const [slot, fresh] = baseline.fCurves.try_emplace(line.substr(prefix.size()));
            if (!fresh) {
                baseline.fProblems.push_back(where + "a second baseline for \"" + slot->first + "\"");
            }
            current = &slot->second;
            continue;
        }
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        std::size_t const space = line.find(' ');
        float time = 0.0f;
        double value = 0.0;
        if (current == nullptr || space == std::string::npos ||
            !parseWhole(std::string_view(line).substr(0, space), time) ||
            !parseWhole(std::string_view(line).substr(space + 1), value)) {
            baseline.fProblems.push_back(where + "not a sample of an exhibit: " + line);
            continue;
        }
        current->fTimes.push_back(time);
        current->fValues.push_back(value);
    }
    return baseline;
}

Tbaseline const& baseline()
{
    static Tbaseline const read = readBaseline(KEEL_TEST_DATA_DIR "/museumGolden.txt");
    return read;
}

bool onSampleGrid(TgoldenCurve const& curve)
{
    if (curve.fTimes.size() != std::size_t(keeltest::kGoldenSamplesPerCurve)) {
        return false;
    }
    for (int i = 0; i < keeltest::kGoldenSamplesPerCurve; ++i) {
        if (std::bit_cast<std::uint32_t>(curve.fTimes[std::size_t(i)]) !=
            std::bit_cast<std::uint32_t>(keeltest::goldenSampleTime(i))) {
            return false;
        }
    }
    return true;
}

constexpr double kWeightedSpanUlps = 16.0;

// How far a value may stray from the baseline at `seconds`, just evaluated:
// nothing, unless the time lies inside a weighted span.
double allowedDifference(TparamCurve const& curve, double seconds)
{
    auto const* bezier = dynamic_cast<T2dBezier const*>(curve.interpolator());
    int const span = curve.interpolatorSpan();
    if (bezier == nullptr || span < 0 || bezier->linearInput() ||
        !(seconds > curve.doubleSeconds(curve.keyframe(unsigned(span))) &&
          seconds < curve.doubleSeconds(curve.keyframe(unsigned(span) + 1)))) {
        return 0.0;
    }
    double const largest = std::max({std::fabs(curve.value(unsigned(span))), std::fabs(curve.value(unsigned(span) + 1)),
                                     std::fabs(bezier->y1()), std::fabs(bezier->y2())});
    return kWeightedSpanUlps * (std::nextafter(largest, HUGE_VAL) - largest);
}

// Evaluates a fresh build of the exhibit at its samples in `order`; reports
// how many values differ from the baseline by more than they may (any bit,
// outside weighted spans), and the first.
void expectBitForBit(keeltest::Texhibit const& exhibit, std::vector<std::size_t> const& order, char const* how)
{
    auto const found = baseline().fCurves.find(exhibit.fName);
    if (found == baseline().fCurves.end() || !onSampleGrid(found->second)) {
        ADD_FAILURE() << "\"" << exhibit.fName << "\" has no usable baseline";
        return;
    }
    TgoldenCurve const& golden = found->second;
    auto curve = exhibit.fBuild();
    int differing = 0;
    std::string first;
    for (std::size_t i : order) {
        double const expected = golden.fValues[i];
        double const actual = curve->evaluate(golden.fTimes[i]);
        bool const same = std::bit_cast<std::uint64_t>(actual) == std::bit_cast<std::uint64_t>(expected) ||
                          std::fabs(actual - expected) <= allowedDifference(*curve, golden.fTimes[i]);
        if (!same && differing++ == 0) {
            first = "at " + goldenTimeText(golden.fTimes[i]) + " s expected " + goldenValueText(expected) + ", got " +
                    goldenValueText(actual);
        }
    }
    EXPECT_EQ(differing, 0) << exhibit.fName << ", " << how << ": first " << first;
}

std::vector<std::size_t> sampleOrder()
{
    std::vector<std::size_t> order(keeltest::kGoldenSamplesPerCurve);
    std::iota(order.begin(), order.end(), std::size_t(0));
    return order;
}

TEST(EvaluationGoldenValues, BaselineHoldsEveryExhibitOnTheSampleGridAndNoOther)
{
    for (std::string const& problem : baseline().fProblems) {
        ADD_FAILURE() << problem;
    }
    std::set<std::string> names;
    for (auto const& exhibit : keeltest::museum()) {
        names.insert(exhibit.fName);
        auto const found = baseline().fCurves.find(exhibit.fName);
        if (found == baseline().fCurves.end()) {
            ADD_FAILURE() << "\"" << exhibit.fName << "\" is missing from the baseline";
            continue;
        }
        EXPECT_TRUE(onSampleGrid(found->second))
            << exhibit.fName << ": not every fortieth of a second from -3 s to 7 s, in order";
    }
    for (auto const& [name, curve] : baseline().fCurves) {
        EXPECT_TRUE(names.contains(name)) << "\"" << name << "\" is in the baseline but not in the museum";
    }
}

TEST(EvaluationGoldenValues, MuseumCurvesEvaluateBitForBit)
{
    for (auto const& exhibit : keeltest::museum()) {
        expectBitForBit(exhibit, sampleOrder(), "in time order");
    }
}

// The same times in a shuffled order: random access takes the searching
// paths (and the sweep shortcut rarely), and must give the same bits.
TEST(EvaluationGoldenValues, ShuffledOrderGivesTheSameBits)
{
    std::mt19937 random(5);
    for (auto const& exhibit : keeltest::museum()) {
        std::vector<std::size_t> order = sampleOrder();
        std::shuffle(order.begin(), order.end(), random);
        expectBitForBit(exhibit, order, "shuffled");
    }
}

}  // namespace
