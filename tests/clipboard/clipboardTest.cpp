// Copy, cut and paste: the keys each option leaves, shapes kept across
// copies and closed gaps, infinity zones written out as keys, picks, triples
// and every refusal.

#include "support/curveBuilders.h"
#include "support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace {

// Key times that passed through single precision.
constexpr double kTime = 2e-5;
constexpr double kValue = 1e-6;
// A copied shape against its source, sampled.
constexpr double kShape = 1e-3;
constexpr float kTick = kOneTickSeconds;

using Tkeys = std::vector<std::pair<double, double>>;

// Ease and plug-in spans are not split into spans of their own kind: a
// shape kept across a split is asked of the other kinds only.
bool splitsExactly(TparamCurve const& curve)
{
    for (unsigned i = 0; i < curve.keyframeCount(); ++i) {
        if (choosesSpanKind(curve.keyframe(i)->tanOutType())) {
            return false;
        }
    }
    return true;
}

// A curve whose spans are straight lines between its keys.
std::unique_ptr<TparamCurve> linearCurve(bool floatTime, Tkeys const& keys)
{
    auto curve = std::make_unique<TparamCurve>(floatTime);
    for (auto const& [t, v] : keys) {
        curve->add(floatTime ? Tkeyframe(float(t), v, kTangentLinear, kTangentLinear)
                             : Tkeyframe(TanimTime(t, kSeconds), v, kTangentLinear, kTangentLinear));
    }
    return curve;
}

TtimeValue at(TparamCurve const& curve, double seconds)
{
    return curve.isFloatCurve() ? TtimeValue(float(seconds)) : TtimeValue(TanimTime(seconds, kSeconds));
}

void expectKeys(TparamCurve const& curve, Tkeys const& expected, std::string const& what)
{
    ASSERT_EQ(curve.keyframeCount(), expected.size()) << what << "\n" << keeltest::curveState(curve);
    for (unsigned i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(curve.timeValue(i).seconds(), expected[i].first, kTime) << what << " key " << i;
        EXPECT_NEAR(curve.value(i), expected[i].second, kValue) << what << " key " << i;
    }
}

Tkeys const kRamp = {{0, 0}, {1, 10}, {2, 20}, {3, 30}, {4, 40}};

struct TcutCase {
    char const* fName;
    double fStart;
    double fEnd;
    TparamCurve::TcutOption fOption;
    Tkeys fLeft;
    unsigned fCopied;  // keys in the clipboard
};

TEST(Cut, EachOptionLeavesItsKeys)
{
    TcutCase const cases[] = {
        {"keys only", 1, 2, TparamCurve::kCutKeys, {{0, 0}, {3, 30}, {4, 40}}, 2},
        {"close", 1, 2, TparamCurve::kCutAndClose, {{0, 0}, {2, 30}, {3, 40}}, 2},
        {"join", 1, 2, TparamCurve::kCutAndJoin, {{0, 0}, {2, 20}, {3, 30}}, 2},
        {"range", 0.5, 2.5, TparamCurve::kCutRange, {{0, 0}, {0.5, 5}, {2.5, 25}, {3, 30}, {4, 40}}, 4},
        {"range, close",
         0.5,
         2.5,
         TparamCurve::kCutRangeAndClose,
         {{0, 0}, {0.5, 5}, {0.5 + kTick, 25}, {1 + kTick, 30}, {2 + kTick, 40}},
         4},
        {"range, join", 0.5, 2.5, TparamCurve::kCutRangeAndJoin, {{0, 0}, {0.5, 5}, {1, 10}, {2, 20}}, 4},
        {"close on keys", 0.5, 2.5, TparamCurve::kCutKeysAndCloseOnKeys, {{0, 0}, {1, 30}, {2, 40}}, 2},
        {"nothing inside", 1.2, 1.8, TparamCurve::kCutKeys, kRamp, 0},
        {"instant key, range option", 2, 2, TparamCurve::kCutRange, {{0, 0}, {1, 10}, {3, 30}, {4, 40}}, 1},
        {"whole curve", -1, 5, TparamCurve::kCutKeys, {}, 5},
        {"beyond the keys", 5, 6, TparamCurve::kCutAndClose, kRamp, 0},
    };
    for (bool floatTime : {true, false}) {
        for (TcutCase const& c : cases) {
            auto curve = linearCurve(floatTime, kRamp);
            TclipboardCurves clipboard;
            clipboard.cutRange(*curve, at(*curve, c.fStart), at(*curve, c.fEnd), c.fOption);
            std::string const what = std::string(c.fName) + (floatTime ? " (seconds)" : " (ticks)");
            if (!floatTime && c.fOption == TparamCurve::kCutRangeAndClose) {
                continue;  // the tick case below: a tick is exact there
            }
            expectKeys(*curve, c.fLeft, what);
            EXPECT_EQ(clipboard.empty() ? 0u : clipboard.curve(0)->keyframeCount(), c.fCopied) << what;
        }
    }
}

TEST(Cut, ClosingARangeOnTicksLeavesOneTickBetweenTheEnds)
{
    auto curve = linearCurve(false, kRamp);
    ASSERT_EQ(curve->cutKeysInRange(at(*curve, 0.5), at(*curve, 2.5), TparamCurve::kCutRangeAndClose, nullptr), 1u);
    ASSERT_EQ(curve->keyframeCount(), 5u);
    EXPECT_EQ(curve->timeValue(2u).animTime().ticks() - curve->timeValue(1u).animTime().ticks(), 1);
}

// Joining cuts keep the curve running on across the closed gap: after the
// start of the range it takes up where the curve was at the end, lowered by
// the rise over the range.
TEST(Cut, JoinedGapsAreContinuous)
{
    for (auto const& exhibit : keeltest::museum()) {
        auto source = exhibit.fBuild();
        if (source->keyframeCount() < 4 || !source->isFloatCurve() || !splitsExactly(*source)) {
            continue;
        }
        double const first = source->timeValue(0u).seconds();
        double const last = source->timeValue(source->keyframeCount() - 1).seconds();
        double const start = first + 0.3 * (last - first);
        double const end = first + 0.55 * (last - first);
        for (auto option : {TparamCurve::kCutAndJoin, TparamCurve::kCutRangeAndJoin}) {
            auto cut = std::make_unique<TparamCurve>(*source);
            ASSERT_GT(cut->cutKeysInRange(at(*cut, start), at(*cut, end), option, nullptr), 0u) << exhibit.fName;
            double const drop = source->evaluate(float(end)) - source->evaluate(float(start));
            if (option == TparamCurve::kCutAndJoin) {
                // The first key after the range is lowered by the rise over it.
                unsigned after = 0;
                source->find(at(*source, end), after);
                after += source->find(at(*source, end), after) ? 1 : 0;
                unsigned moved = 0;
                cut->find(at(*cut, source->timeValue(after).seconds() - (end - start)), moved);
                EXPECT_NEAR(cut->value(moved), source->value(after) - drop, kValue) << exhibit.fName;
            } else {
                EXPECT_NEAR(cut->evaluate(float(start)), source->evaluate(float(start)), kShape) << exhibit.fName;
                unsigned next = 0;
                source->find(at(*source, end), next);
                double const room = source->timeValue(next).seconds() - end;
                for (double step : {0.25, 0.5, 0.9}) {
                    double const t = step * room;
                    EXPECT_NEAR(cut->evaluate(float(start + t)), source->evaluate(float(end + t)) - drop, kShape)
                        << exhibit.fName << " at " << t;
                }
            }
        }
    }
}

// Copies with range ends hold the source's shape between the ends.
TEST(Copy, RangeEndsKeepTheShape)
{
    for (auto const& exhibit : keeltest::museum()) {
        auto source = exhibit.fBuild();
        unsigned const keys = source->keyframeCount();
        if (keys < 2 || !splitsExactly(*source)) {
            continue;
        }
        double const first = source->timeValue(0u).seconds();
        double const last = source->timeValue(keys - 1).seconds();
        double const start = first + 0.21 * (last - first);
        double const end = first + 0.83 * (last - first);
        std::string const before = keeltest::curveState(*source);
        TclipboardCurves clipboard;
        ASSERT_EQ(clipboard.copyRange(*source, at(*source, start), at(*source, end), TparamCurve::kCopyWithRangeEnds),
                  1u)
            << exhibit.fName;
        EXPECT_EQ(keeltest::curveState(*source), before) << exhibit.fName << ": a copy changed its source";
        TparamCurve& copy = *clipboard.curve(0);
        EXPECT_NEAR(copy.timeValue(0u).seconds(), start, kTime) << exhibit.fName;
        EXPECT_NEAR(copy.timeValue(copy.keyframeCount() - 1).seconds(), end, kTime) << exhibit.fName;
        for (int i = 0; i <= 20; ++i) {
            TtimeValue const t = at(*source, start + (end - start) * i / 20.0);
            EXPECT_NEAR(copy.evaluate(t), source->evaluate(t), kShape) << exhibit.fName << " at " << t.seconds();
        }
    }
}

// Beyond the keys a copy writes out what the infinity types show.
TEST(Copy, InfinityZonesBecomeKeys)
{
    using Tinf = TparamCurveEnums::TinfinityType;
    Tinf const types[] = {TparamCurveEnums::kConstant, TparamCurveEnums::kLinear, TparamCurveEnums::kCycle,
                          TparamCurveEnums::kCycleRelative, TparamCurveEnums::kOscillate};
    for (bool floatTime : {true, false}) {
        for (Tinf pre : types) {
            for (Tinf post : types) {
                auto source = keeltest::buildCurve(floatTime, false, keeltest::waveKeys());
                source->setPreInfinityType(pre);
                source->setPostInfinityType(post);
                double const first = source->timeValue(0u).seconds();
                double const last = source->timeValue(source->keyframeCount() - 1).seconds();
                double const period = last - first;
                double const start = first - 2.3 * period;
                double const end = last + 1.7 * period;
                TclipboardCurves clipboard;
                ASSERT_EQ(
                    clipboard.copyRange(*source, at(*source, start), at(*source, end), TparamCurve::kCopyWithRangeEnds),
                    1u);
                TparamCurve& copy = *clipboard.curve(0);
                EXPECT_TRUE(keeltest::keysInOrder(copy));
                std::string const what = "pre " + std::to_string(pre) + " post " + std::to_string(post);
                for (int i = 0; i <= 400; ++i) {
                    double const t = start + (end - start) * i / 400.0;
                    double const seam = std::remainder(t - first, period);
                    if (std::fabs(seam) < 2.0 * kTick) {
                        continue;  // a cycle may jump at its seam; the keys there stand a tick apart
                    }
                    TtimeValue const time = at(*source, t);
                    EXPECT_NEAR(copy.evaluate(time), source->evaluate(time), kShape) << what << " at " << t;
                }
            }
        }
    }
}

TEST(Copy, PicksChooseRangeOrKeyByKey)
{
    auto curve = linearCurve(true, kRamp);
    auto pickAt = [&](TpickKeyDictionary& picks, unsigned index, int flags) {
        TpickKey pick;
        pick.create(curve.get(), index, TbitField32(unsigned(flags)), false, true);
        picks.insert(curve->timeValue(index), pick);
    };
    TpickKeyDictionary none;
    EXPECT_FALSE(curve->canCopy(none, TparamCurve::kCopyKeys));
    TpickKeyDictionary one;
    pickAt(one, 2, kPickKeyMask);
    TparamCurve* slots[3] = {};
    ASSERT_EQ(curve->copy(one, TparamCurve::kCopyKeys, slots), 1u);
    expectKeys(*slots[0], {{2, 20}}, "one picked key");
    delete slots[0];

    TpickKeyDictionary gap;
    pickAt(gap, 1, kPickKeyMask);
    pickAt(gap, 3, kPickKeyMask);
    EXPECT_TRUE(curve->canCopy(gap, TparamCurve::kCopyKeys));
    ASSERT_EQ(curve->copy(gap, TparamCurve::kCopyKeys, slots), 1u);
    expectKeys(*slots[0], {{1, 10}, {3, 30}}, "picks around an unpicked key");
    delete slots[0];

    TpickKeyDictionary run;
    pickAt(run, 1, kPickKeyMask);
    pickAt(run, 2, kPickKeyMask);
    pickAt(run, 3, kPickKeyMask);
    ASSERT_EQ(curve->copy(run, TparamCurve::kCopyKeys, slots), 1u);
    expectKeys(*slots[0], {{1, 10}, {2, 20}, {3, 30}}, "a run of picks");
    delete slots[0];

    TpickKeyDictionary tangent;
    pickAt(tangent, 1, kPickKeyMask);
    pickAt(tangent, 2, kPickInTangentMask);
    EXPECT_FALSE(curve->canCopy(tangent, TparamCurve::kCopyKeys));

    ASSERT_EQ(curve->cut(gap, TparamCurve::kCutKeysAndCloseOnKeys, slots), 1u);
    expectKeys(*curve, {{0, 0}, {1, 20}, {2, 40}}, "picked keys cut, the rest moved up");
    delete slots[0];
}

// A clipboard of keys 0 and 1 (values 0 and 10) onto keys 0, 5 and 10.
struct TpasteCase {
    char const* fName;
    TparamCurve::TpasteOption fOption;
    double fStart;
    double fEnd;
    unsigned fRepetitions;
    Tkeys fAfter;
};

TEST(Paste, EachModePlacesTheBlock)
{
    TpasteCase const cases[] = {
        {"insert", TparamCurve::kPasteInsert, 5, 5, 1, {{0, 0}, {5, 0}, {6, 10}, {6 + kTick, 50}, {11 + kTick, 100}}},
        {"insert before the keys",
         TparamCurve::kPasteInsert,
         -3,
         -3,
         1,
         {{-3, 0}, {-2, 10}, {1, 0}, {6, 50}, {11, 100}}},
        {"replace", TparamCurve::kPasteReplace, 5, 5, 1, {{0, 0}, {5, 0}, {6, 10}, {10, 100}}},
        {"merge thrice", TparamCurve::kPasteMerge, 5, 5, 3, {{0, 0}, {5, 0}, {6, 0}, {7, 0}, {8, 10}, {10, 100}}},
        {"scale, insert",
         TparamCurve::kPasteScaleInsert,
         5,
         7,
         1,
         {{0, 0}, {5, 0}, {7, 10}, {7 + kTick, 50}, {12 + kTick, 100}}},
        {"scale, replace", TparamCurve::kPasteScaleReplace, 4, 8, 1, {{0, 0}, {4, 0}, {8, 10}, {10, 100}}},
        {"fit, merge", TparamCurve::kPasteFitMerge, 20, 24, 1, {{0, 0}, {5, 50}, {10, 100}, {20, 0}, {24, 10}}},
        {"fit, replace", TparamCurve::kPasteFitReplace, 4, 6, 1, {{0, 0}, {4, 0}, {6, 10}, {10, 100}}},
    };
    for (TpasteCase const& c : cases) {
        auto target = linearCurve(true, {{0, 0}, {5, 50}, {10, 100}});
        auto block = linearCurve(true, {{0, 0}, {1, 10}});
        TparamCurve* clipboard[] = {block.get()};
        TpasteSettings settings;
        settings.fRepetitions = c.fRepetitions;
        EXPECT_EQ(
            target->paste(TtimeValue(float(c.fStart)), TtimeValue(float(c.fEnd)), 1, clipboard, c.fOption, settings),
            1u)
            << c.fName;
        expectKeys(*target, c.fAfter, c.fName);
    }
}

TEST(Paste, ValuesFollowTheSettings)
{
    auto target = linearCurve(true, {{0, 0}, {10, 100}});
    auto block = linearCurve(true, {{0, 1}, {1, 3}});
    TparamCurve* clipboard[] = {block.get()};
    TpasteSettings settings;
    settings.fValueScale = 2.0;
    settings.fValuePivot = 1.0;
    settings.fValueOffset = 5.0;
    ASSERT_EQ(target->paste(TtimeValue(20.0f), TtimeValue(20.0f), 1, clipboard, TparamCurve::kPasteMerge, settings),
              1u);
    expectKeys(*target, {{0, 0}, {10, 100}, {20, 6}, {21, 10}}, "scaled about the pivot and offset");
    settings = TpasteSettings{};
    settings.fConnect = true;
    ASSERT_EQ(target->paste(TtimeValue(4.0f), TtimeValue(4.0f), 1, clipboard, TparamCurve::kPasteMerge, settings), 1u);
    EXPECT_NEAR(target->value(1u), 40.0, kValue) << "the block starts where the curve was";
    EXPECT_NEAR(target->value(2u), 42.0, kValue);
}

TEST(Paste, RefusalsChangeNothing)
{
    auto target = linearCurve(true, {{0, 0}, {5, 50}});
    auto block = linearCurve(true, {{0, 0}, {1, 10}});
    auto ticks = linearCurve(false, {{0, 0}, {1, 10}});
    auto empty = std::make_unique<TparamCurve>(true);
    TparamCurve* clipboard[] = {block.get(), block.get(), block.get(), block.get()};
    TparamCurve* other[] = {ticks.get()};
    TparamCurve* nothing[] = {empty.get()};
    TparamCurve* nulls[] = {nullptr};
    float const nan = std::numeric_limits<float>::quiet_NaN();
    TtimeValue const same(0.5f);
    TtimeValue const reversedStart(3.0f);
    TtimeValue const reversedEnd(1.0f);
    std::string const before = keeltest::curveState(*target);
    TpasteSettings plain;
    TpasteSettings reversed;
    reversed.fCopiedStart = &reversedStart;
    reversed.fCopiedEnd = &reversedEnd;
    TpasteSettings instant;
    instant.fCopiedStart = &same;
    instant.fCopiedEnd = &same;
    TpasteSettings badValue;
    badValue.fValueScale = std::numeric_limits<double>::infinity();
    struct Trefusal {
        char const* fName;
        unsigned fCount;
        TparamCurve* const* fClipboard;
        TparamCurve::TpasteOption fOption;
        TtimeValue fStart;
        TpasteSettings const* fSettings;
    } const refusals[] = {
        {"option 1", 1, clipboard, TparamCurve::kPasteUnhandled, TtimeValue(2.0f), &plain},
        {"option 10", 1, clipboard, TparamCurve::TpasteOption(10), TtimeValue(2.0f), &plain},
        {"no curves", 0, clipboard, TparamCurve::kPasteInsert, TtimeValue(2.0f), &plain},
        {"count 4", 4, clipboard, TparamCurve::kPasteInsert, TtimeValue(2.0f), &plain},
        {"other form", 1, other, TparamCurve::kPasteInsert, TtimeValue(2.0f), &plain},
        {"empty clipboard", 1, nothing, TparamCurve::kPasteInsert, TtimeValue(2.0f), &plain},
        {"null clipboard curve", 1, nulls, TparamCurve::kPasteInsert, TtimeValue(2.0f), &plain},
        {"NaN start", 1, clipboard, TparamCurve::kPasteInsert, TtimeValue(nan), &plain},
        {"tick start", 1, clipboard, TparamCurve::kPasteInsert, TtimeValue(TanimTime::fromTicks(5)), &plain},
        {"reversed copied range", 1, clipboard, TparamCurve::kPasteMerge, TtimeValue(2.0f), &reversed},
        {"scale of an instant", 1, clipboard, TparamCurve::kPasteScaleInsert, TtimeValue(2.0f), &instant},
        {"infinite value scale", 1, clipboard, TparamCurve::kPasteMerge, TtimeValue(2.0f), &badValue},
    };
    for (Trefusal const& r : refusals) {
        EXPECT_EQ(target->paste(r.fStart, TtimeValue(4.0f), r.fCount, r.fClipboard, r.fOption, *r.fSettings), 0u)
            << r.fName;
        EXPECT_EQ(keeltest::curveState(*target), before) << r.fName;
    }
    EXPECT_EQ(target->paste(TtimeValue(2.0f), TtimeValue(4.0f), 1, nullptr, TparamCurve::kPasteInsert, plain), 0u);
}

TEST(Copy, RefusalsChangeNothing)
{
    auto curve = linearCurve(true, kRamp);
    std::string const before = keeltest::curveState(*curve);
    float const nan = std::numeric_limits<float>::quiet_NaN();
    TparamCurve* slots[3] = {};
    struct Trange {
        char const* fName;
        TtimeValue fStart;
        TtimeValue fEnd;
    } const ranges[] = {
        {"reversed", TtimeValue(3.0f), TtimeValue(1.0f)},
        {"NaN", TtimeValue(nan), TtimeValue(1.0f)},
        {"ticks on a seconds curve", TtimeValue(TanimTime::fromTicks(0)), TtimeValue(TanimTime::fromTicks(6000))},
        {"far beyond the keys", TtimeValue(1e6f), TtimeValue(2e6f)},
    };
    for (Trange const& r : ranges) {
        EXPECT_EQ(curve->copyKeysInRange(r.fStart, r.fEnd, TparamCurve::kCopyKeys, slots), 0u) << r.fName;
        for (unsigned c = 0; c <= TparamCurve::kCutKeysAndCloseOnKeys; ++c) {
            EXPECT_EQ(curve->cutKeysInRange(r.fStart, r.fEnd, TparamCurve::TcutOption(c), nullptr), 0u) << r.fName;
        }
        EXPECT_EQ(slots[0], nullptr) << r.fName;
        EXPECT_EQ(keeltest::curveState(*curve), before) << r.fName;
    }
    EXPECT_EQ(curve->copyKeysInRange(TtimeValue(0.0f), TtimeValue(1.0f), TparamCurve::kCopyKeys, nullptr), 0u);
    EXPECT_EQ(curve->cutKeysInRange(TtimeValue(0.0f), TtimeValue(1.0f), TparamCurve::TcutOption(7), nullptr), 0u);
    curve->setPostInfinityType(TparamCurveEnums::kCycle);
    for (float far : {1e7f, 3e38f}) {
        // Found by fuzzing (3e38): the cycle count overflowed the integer it
        // was turned into before the check that refuses it.
        EXPECT_EQ(curve->copyKeysInRange(TtimeValue(0.0f), TtimeValue(far), TparamCurve::kCopyWithRangeEnds, slots), 0u)
            << "millions of cycles are refused: " << far;
    }
    EXPECT_EQ(curve->copyKeysInRange(TtimeValue(1e30f), TtimeValue(1.0001e30f), TparamCurve::kCopyWithRangeEnds, slots),
              0u)
        << "a cycle too far out for single-precision times is refused";
    curve->setPostInfinityType(TparamCurveEnums::kConstant);
    curve->setLockedParams(TparamCurve::kChangeAll);
    EXPECT_EQ(curve->cutKeysInRange(TtimeValue(1.0f), TtimeValue(2.0f), TparamCurve::kCutKeys, nullptr), 0u);
    EXPECT_EQ(keeltest::curveState(*curve), before);
}

TEST(Clipboard, OneTickShorter)
{
    TparamCurve seconds(true);
    TparamCurve ticks(false);
    EXPECT_EQ(seconds.oneTickShorter(TtimeValue(1.0f)).floatSeconds(),
              static_cast<float>(1.0 - 0.00016666666488163173));
    EXPECT_EQ(ticks.oneTickShorter(TtimeValue(TanimTime::fromTicks(100))).animTime().ticks(), 99);
}

// A rotation triple copies as three curves whose keys hold the rotations.
struct Ttriple {
    std::unique_ptr<TparamCurve> fX = std::make_unique<TparamCurve>(true);
    std::unique_ptr<TparamCurve> fY = std::make_unique<TparamCurve>(true);
    std::unique_ptr<TparamCurve> fZ = std::make_unique<TparamCurve>(true);
    TrotationTriple fLink{*fX, *fY, *fZ};

    explicit Ttriple(TparamCurveEnums::TrotationInterpolation mode)
    {
        double const degrees[] = {0.0, 70.0, 160.0, 200.0};
        for (int i = 0; i < 4; ++i) {
            fLink.setKey(TtimeValue(float(i)), TrotateXYZ{0.3 * i, 0.1, degrees[i] * std::numbers::pi / 180.0},
                         kTangentSpline, kTangentSpline);
        }
        fLink.setRotationInterpolation(mode);
    }
};

void expectSameRotation(Tquaternion const& a, Tquaternion const& b, std::string const& what)
{
    EXPECT_NEAR(std::fabs(a.dot(b)), 1.0, 1e-5) << what;
}

TEST(Clipboard, TriplesCopyAndPasteAsRotations)
{
    Ttriple source(TparamCurveEnums::kQuaternionSlerp);
    source.fX->setPostInfinityType(TparamCurveEnums::kCycle);
    TclipboardCurves clipboard;
    ASSERT_EQ(clipboard.copyRange(*source.fY, TtimeValue(0.5f), TtimeValue(5.5f), TparamCurve::kCopyWithRangeEnds), 3u);
    Ttriple target(TparamCurveEnums::kQuaternionSlerp);
    target.fX->removeAllKeys(true, true);
    ASSERT_EQ(clipboard.pasteOnto(*target.fZ, TtimeValue(10.5f), TtimeValue(10.5f), TparamCurve::kPasteMerge), 3u);
    for (float t : {0.5f, 1.0f, 2.25f, 3.0f, 4.0f, 5.5f}) {
        expectSameRotation(target.fX->evaluateQuaternion(TtimeValue(t + 10.0f)),
                           source.fX->evaluateQuaternion(TtimeValue(t)), "pasted rotation at " + std::to_string(t));
    }
    Ttriple euler(TparamCurveEnums::kEulerAngles);
    euler.fX->removeAllKeys(true, true);
    ASSERT_EQ(clipboard.pasteOnto(*euler.fX, TtimeValue(0.5f), TtimeValue(0.5f), TparamCurve::kPasteMerge), 3u);
    for (float t : {0.5f, 1.0f, 2.0f, 3.0f}) {
        TrotateXYZ const angles{euler.fX->evaluate(t), euler.fY->evaluate(t), euler.fZ->evaluate(t)};
        expectSameRotation(angles.asQuaternion(), source.fX->evaluateQuaternion(TtimeValue(t)),
                           "Euler keys at " + std::to_string(t));
    }
    auto single = std::make_unique<TparamCurve>(true);
    ASSERT_EQ(clipboard.pasteOnto(*single, TtimeValue(0.5f), TtimeValue(0.5f), TparamCurve::kPasteMerge), 1u)
        << "a triple onto one curve pastes one axis";
}

TEST(Clipboard, QuaternionCutsJoinRotations)
{
    Ttriple triple(TparamCurveEnums::kQuaternionSlerp);
    Tquaternion const atStart = triple.fX->evaluateQuaternion(TtimeValue(0.5f));
    Tquaternion const afterEnd = triple.fX->evaluateQuaternion(TtimeValue(3.0f));
    Tquaternion const atEnd = triple.fX->evaluateQuaternion(TtimeValue(2.5f));
    ASSERT_EQ(triple.fX->cutKeysInRange(TtimeValue(0.5f), TtimeValue(2.5f), TparamCurve::kCutRangeAndJoin, nullptr),
              3u);
    ASSERT_EQ(triple.fZ->keyframeCount(), triple.fX->keyframeCount());
    expectSameRotation(triple.fX->evaluateQuaternion(TtimeValue(0.5f)), atStart, "start");
    expectSameRotation(triple.fX->evaluateQuaternion(TtimeValue(1.0f)), atStart * atEnd.inverse() * afterEnd,
                       "the key after the gap, turned");
}

// Found by fuzzing: a copy beyond the keys of a triple read the keys of a
// channel that had none.
TEST(Clipboard, InfinityCopyOfATripleWithAnEmptyChannel)
{
    TparamCurve x(true);
    TparamCurve y(true);
    TparamCurve z(true);
    TrotationTriple const link(x, y, z);
    z.add(Tkeyframe(1.0f, 0.5, kTangentSpline, kTangentSpline));
    z.add(Tkeyframe(2.0f, 1.5, kTangentSpline, kTangentSpline));
    TclipboardCurves clipboard;
    EXPECT_EQ(clipboard.copyRange(z, TtimeValue(-1.0f), TtimeValue(4.0f), TparamCurve::kCopyWithRangeEnds), 3u);
    EXPECT_EQ(clipboard.curve(0)->keyframeCount(), 0u);
    EXPECT_GE(clipboard.curve(2)->keyframeCount(), 2u);
    EXPECT_GT(clipboard.cutRange(z, TtimeValue(-1.0f), TtimeValue(4.0f), TparamCurve::kCutRange), 0u);
}

std::string tripleState(TparamCurve* const (&curves)[3])
{
    std::string state;
    for (TparamCurve* curve : curves) {
        state += keeltest::curveState(*curve);
    }
    return state;
}

// Cuts and pastes of a triple, in one modification of its three curves,
// undo and redo on all three exactly.
TEST(Clipboard, TripleEditsUndoAndRedoExactly)
{
    for (auto mode : {TparamCurveEnums::kEulerAngles, TparamCurveEnums::kQuaternionCubic}) {
        Ttriple source(mode);
        TclipboardCurves clipboard;
        ASSERT_EQ(clipboard.copyRange(*source.fX, TtimeValue(0.5f), TtimeValue(2.0f), TparamCurve::kCopyWithRangeEnds),
                  3u);
        for (unsigned edit = 0; edit < 7 + 10; ++edit) {
            Ttriple triple(mode);
            TparamCurve* curves[] = {triple.fX.get(), triple.fY.get(), triple.fZ.get()};
            std::string const before = tripleState(curves);
            TparamCurveDeltaUser user;
            for (TparamCurve* curve : curves) {
                user.beginParamCurveMod(*curve);
            }
            unsigned const done = edit < 7 ? triple.fY->cutKeysInRange(TtimeValue(0.5f), TtimeValue(2.5f),
                                                                       TparamCurve::TcutOption(edit), nullptr)
                                           : clipboard.pasteOnto(*triple.fY, TtimeValue(1.25f), TtimeValue(2.5f),
                                                                 TparamCurve::TpasteOption(edit - 7));
            for (TparamCurve* curve : curves) {
                user.endParamCurveMod(*curve);
            }
            std::string const after = tripleState(curves);
            std::string const what = "mode " + std::to_string(mode) + " edit " + std::to_string(edit);
            EXPECT_EQ(done == 0, edit == 7 + TparamCurve::kPasteUnhandled) << what;
            user.undoPC();
            EXPECT_EQ(tripleState(curves), before) << what;
            user.redoPC();
            EXPECT_EQ(tripleState(curves), after) << what;
        }
    }
}

}  // namespace
