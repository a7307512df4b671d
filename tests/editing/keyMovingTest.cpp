// Moving keys: the order a batch places its keys in, what canMove allows under
// each option and lock, breakdown keys kept in proportion, replacement, and
// refusals that leave the curve untouched.

#include "editing/pickHelpers.h"
#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

using keeltest::curveState;
using TmoveOption = TparamCurveEnums::TmoveOption;

constexpr double kExact = 0.0;
constexpr double kTimeTolerance = 1e-6;

// Owns handles to keys of a curve, by index.
struct Thandles {
    TkeyframeHandlePtrArray fArray;
    Thandles(TparamCurve& curve, std::vector<unsigned> const& indices)
    {
        for (unsigned index : indices) {
            fArray.addLast(new TkeyframeHandle(&curve, index, false));
        }
    }
    Thandles(Thandles const&) = delete;
    Thandles& operator=(Thandles const&) = delete;
    ~Thandles()
    {
        for (TkeyframeHandle* handle : fArray) {
            delete handle;
        }
    }
};

std::vector<double> keyTimes(TparamCurve const& curve)
{
    std::vector<double> times;
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        times.push_back(curve.timeValue(i).seconds());
    }
    return times;
}

// A relative batch move of the keys at `indices` by `offset` seconds.
bool moveBy(TparamCurve& curve, std::vector<unsigned> const& indices, float offset, TmoveOption option,
            bool followBreakdowns = true)
{
    Thandles handles(curve, indices);
    TtimeValueArray newTimes, oldTimes;
    TdoubleArray newValues, oldValues;
    TtimeValue const shift = curve.isAnimTimeCurve() ? TtimeValue(TanimTime(offset, kSeconds)) : TtimeValue(offset);
    for (TkeyframeHandle* handle : handles.fArray) {
        newTimes.addLast(handle->timeValue() + shift);
    }
    curve.beginMoveKeys(handles.fArray);
    bool const moved =
        curve.moveKeys(handles.fArray, newTimes, oldTimes, newValues, oldValues, option, followBreakdowns);
    curve.endMoveKeys();
    return moved;
}

// Hears the moves a curve announces, as (from, to) in seconds.
struct TmoveLog : Tclient {
    std::vector<std::pair<double, double>> fMoves;
    static void heard(Tclient* client, TclientServer*, TserverMsg const& msg)
    {
        if (auto const* moved = keelCast<TkeyframeMovedMsg>(&msg)) {
            static_cast<TmoveLog*>(client)->fMoves.emplace_back(moved->from().seconds(), moved->to().seconds());
        }
    }
};

TEST(MoveOrder, RecordsSortByCurrentTimeThenSlot)
{
    auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 0.0}, {2.0f, 0.0}, {3.0f, 0.0}});
    Thandles handles(*curve, {3, 1, 2, 0});
    curve->beginMoveKeys(handles.fArray);
    TmoveKeyDataPtrList* list = curve->moveKeyList();
    ASSERT_NE(list, nullptr);
    list->sort();
    std::vector<unsigned> slots;
    for (TmoveKeyData const* record : *list) {
        slots.push_back(record->fSlot);
    }
    EXPECT_EQ(slots, (std::vector<unsigned>{3, 1, 2, 0}));
    EXPECT_EQ(moveKeyDataCompare((*list)[0], (*list)[0]), 0);
    EXPECT_LT(moveKeyDataCompare((*list)[0], (*list)[1]), 0);
    EXPECT_GT(moveKeyDataCompare((*list)[3], (*list)[2]), 0);
    EXPECT_EQ(list->findHandle(handles.fArray[2])->fSlot, 2u);
    curve->endMoveKeys();
    EXPECT_EQ(curve->moveKeyList(), nullptr);
}

// Keys moving later go latest first and keys moving earlier earliest first,
// so a batch moved further than its spacing never meets itself.
TEST(MoveOrder, BatchesNeverCollideWithThemselves)
{
    struct Tcase {
        float fOffset;
        std::vector<std::pair<double, double>> fHeard;
    };
    Tcase const cases[] = {
        {2.5f, {{3.0, 5.5}, {2.0, 4.5}, {1.0, 3.5}}},
        {-1.0f, {{1.0, 0.0}, {2.0, 1.0}, {3.0, 2.0}}},
    };
    for (Tcase const& c : cases) {
        auto curve = keeltest::floatCurve({{-2.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}, {9.0f, 0.0}});
        TmoveLog log;
        curve->addClient(&log, TkeyframeMovedMsgTmeta, &TmoveLog::heard);
        ASSERT_TRUE(moveBy(*curve, {1, 2, 3}, c.fOffset, TparamCurveEnums::TmoveOption(5)));
        EXPECT_EQ(log.fMoves, c.fHeard) << c.fOffset;
        EXPECT_EQ(curve->keyframeCount(), 5u);
        EXPECT_EQ(curve->value(1), 1.0) << "values travel with their keys";
        curve->removeClient(&log);
    }
}

struct TcanMoveCase {
    char const* fName;
    bool fTickCurve;
    unsigned fLocks;
    std::vector<unsigned> fKeys;
    bool fRelative;
    double fTime;  // seconds, or ticks on the tick curve
    double fValue;
    int fOption;
    bool fAllowed;
};

TEST(CanMove, PerOptionAndLock)
{
    constexpr unsigned kTime = TparamCurve::kChangeTime;
    constexpr unsigned kValue = TparamCurve::kChangeValue;
    TcanMoveCase const cases[] = {
        {"real offset above the epsilon, time locked", false, kTime, {1}, true, 0.00002, 0.0, 5, false},
        {"real offset below the epsilon, time locked", false, kTime, {1}, true, 0.000005, 0.0, 5, true},
        {"tick offset of 0, time locked", true, kTime, {1}, true, 0, 0.0, 5, false},
        {"tick offset of 1, time locked", true, kTime, {1}, true, 1, 0.0, 5, true},
        {"absolute to its own time, time locked", false, kTime, {1}, false, 1.0, 1.0, 5, false},
        {"value offset, value locked", false, kValue, {1}, true, 0.0, 0.5, 5, false},
        {"tiny value offset, value locked", false, kValue, {1}, true, 0.0, 0.000001, 5, true},
        {"option 0 onto the next key", true, 0, {1}, true, 6000, 0.0, 0, true},
        {"option 0 a tick past the next key", true, 0, {1}, true, 6001, 0.0, 0, false},
        {"option 0 onto the previous key", true, 0, {1}, true, -6000, 0.0, 0, true},
        {"option 0 a tick before the previous key", true, 0, {1}, true, -6001, 0.0, 0, false},
        {"option 0 a block, its last key past the neighbour", false, 0, {1, 2}, true, 1.5, 0.0, 0, false},
        {"option 0 absolute inside the gap", false, 0, {1}, false, 1.5, 0.0, 0, true},
        {"option 1 absolute", false, 0, {1}, false, 1.5, 0.0, 1, false},
        {"option 1 relative", false, 0, {1}, true, 9.0, 0.0, 1, true},
        {"option 2 absolute, one key", false, 0, {1}, false, 2.0, 0.0, 2, true},
        {"option 2 absolute, two keys", false, 0, {1, 2}, false, 2.0, 0.0, 2, false},
        {"option 3 absolute", false, 0, {1}, false, 2.0, 0.0, 3, false},
        {"another option absolute", false, 0, {1}, false, 2.0, 0.0, 7, true},
        {"no handles", false, ~0u, {}, true, 1.0, 1.0, 1, true},
    };
    for (TcanMoveCase const& c : cases) {
        auto curve = c.fTickCurve ? keeltest::tickCurve({{0, 0.0}, {6000, 1.0}, {12000, 2.0}, {18000, 3.0}})
                                  : keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}});
        curve->setLockedParams(c.fLocks);
        Thandles handles(*curve, c.fKeys);
        TtimeValue const time =
            c.fTickCurve ? TtimeValue(TanimTime::fromTicks(int(c.fTime))) : TtimeValue(float(c.fTime));
        EXPECT_EQ(curve->canMove(handles.fArray, time, c.fValue, c.fRelative, TmoveOption(c.fOption)), c.fAllowed)
            << c.fName;
    }
}

TEST(CanMove, PicksAnswerAsTheirHandles)
{
    auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TpickKeyDictionary picks;
    keeltest::addPick(picks, curve.get(), 1, kPickKeyBit);
    EXPECT_TRUE(curve->canMove(picks, TtimeValue(1.0f), 0.0, true, TparamCurveEnums::kMoveBetweenNeighbours, true));
    EXPECT_FALSE(curve->canMove(picks, TtimeValue(1.5f), 0.0, true, TparamCurveEnums::kMoveBetweenNeighbours, true));
}

// A breakdown keeps its place in proportion between its neighbours when one
// of them moves, in a batch and in a scale.
TEST(Breakdowns, KeepTheirProportion)
{
    struct Tcase {
        char const* fName;
        bool fTickCurve;
        bool fScale;
        double fExpected;
    };
    Tcase const cases[] = {
        {"batch, float curve", false, false, 3.0},
        {"batch, tick curve", true, false, 3.0},
        {"region scale, float curve", false, true, 3.0},
    };
    for (Tcase const& c : cases) {
        auto curve = c.fTickCurve ? keeltest::tickCurve({{0, 0.0}, {12000, 1.0}, {24000, 2.0}})
                                  : keeltest::floatCurve({{0.0f, 0.0}, {2.0f, 1.0}, {4.0f, 2.0}});
        curve->setBreakdown(1, true);
        if (c.fScale) {
            ASSERT_TRUE(curve->scaleRegion(TtimeValue(4.0f), TtimeValue(4.0f), TtimeValue(6.0f), TtimeValue(6.0f),
                                           TtimeValue(0.0f)))
                << c.fName;
        } else {
            ASSERT_TRUE(moveBy(*curve, {2}, 2.0f, TparamCurveEnums::kMoveBetweenNeighbours)) << c.fName;
        }
        EXPECT_NEAR(curve->timeValue(1).seconds(), c.fExpected, kTimeTolerance) << c.fName;
        EXPECT_NEAR(curve->timeValue(2).seconds(), 6.0, kTimeTolerance) << c.fName;
    }
    // Without following, the breakdown stays.
    auto curve = keeltest::floatCurve({{0.0f, 0.0}, {2.0f, 1.0}, {4.0f, 2.0}});
    curve->setBreakdown(1, true);
    ASSERT_TRUE(moveBy(*curve, {2}, 2.0f, TparamCurveEnums::kMoveBetweenNeighbours, false));
    EXPECT_EQ(curve->timeValue(1).seconds(), 2.0);
}

TEST(BreakdownData, RatioAndDesiredTime)
{
    auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 0.0}, {4.0f, 0.0}});
    TbreakdownData const both(curve.get(), 0, 1, 2);
    TbreakdownData const before(curve.get(), 0, 1, TbreakdownData::kNoNeighbour);
    TbreakdownData const after(curve.get(), TbreakdownData::kNoNeighbour, 1, 2);
    TbreakdownData const alone(curve.get(), TbreakdownData::kNoNeighbour, 1, TbreakdownData::kNoNeighbour);
    EXPECT_FLOAT_EQ(both.ratio(), 0.25f);
    EXPECT_FLOAT_EQ(before.ratio(), 1.0f);
    EXPECT_FLOAT_EQ(after.ratio(), -3.0f);
    EXPECT_FLOAT_EQ(alone.ratio(), 1.0f);
    EXPECT_EQ(both.getDesiredTime(nullptr).seconds(), 0.0);
    curve->moveKeyframe(2, TtimeValue(8.0f), 0.0, TparamCurveEnums::kMoveBetweenNeighbours, false);
    EXPECT_NEAR(both.getDesiredTime(curve.get()).seconds(), 2.0, kTimeTolerance);
    EXPECT_NEAR(after.getDesiredTime(curve.get()).seconds(), 5.0, kTimeTolerance);
    EXPECT_EQ(curve->getBreakdownData(1), nullptr) << "key 1 is no breakdown";
}

// Options 2 and 3 replace an unmoved key met at the target; the others
// refuse such a move and change nothing.
TEST(Replacement, ByOption)
{
    for (int option : {0, 1, 2, 3, 5}) {
        auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
        std::string const before = curveState(*curve);
        bool const replaces = option == 2 || option == 3;
        EXPECT_EQ(curve->moveKeyframe(0, TtimeValue(1.0f), 5.0, TmoveOption(option), true), replaces) << option;
        if (replaces) {
            EXPECT_EQ(curve->keyframeCount(), 2u);
            EXPECT_EQ(curve->value(0), 5.0);
        } else {
            EXPECT_EQ(curveState(*curve), before) << option;
        }
    }
}

TEST(Replacement, ReplaceKeysOnlyUnderOptionTwo)
{
    auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}, {3.0f, 3.0}});
    Thandles handles(*curve, {0, 2});
    TtimeValueArray newTimes, replaced;
    newTimes.addLast(TtimeValue(1.0f));
    newTimes.addLast(TtimeValue(3.0f));
    replaced.addLast(TtimeValue(9.0f));
    EXPECT_FALSE(curve->replaceKeys(handles.fArray, newTimes, replaced, TparamCurveEnums::kMoveBetweenNeighbours));
    EXPECT_EQ(replaced.count(), 0u) << "emptied even when refused";
    EXPECT_TRUE(curve->replaceKeys(handles.fArray, newTimes, replaced, TparamCurveEnums::kMoveReplace));
    ASSERT_EQ(replaced.count(), 2u);
    EXPECT_EQ(replaced[0].seconds(), 1.0);
    EXPECT_EQ(replaced[1].seconds(), 3.0);
    EXPECT_EQ(keyTimes(*curve), (std::vector<double>{0.0, 2.0}));
}

// Every refused call answers false and leaves the curve bit-identical.
TEST(MoveRefusals, LeaveTheCurveUntouched)
{
    auto other = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    struct Tcase {
        char const* fName;
        bool (*fCall)(TparamCurve&, TparamCurve&);
    };
    Tcase const cases[] = {
        {"NaN time", [](TparamCurve& c, TparamCurve&) { return c.moveKeyframe(1, TtimeValue(NAN), 0.0, {}, true); }},
        {"infinite time",
         [](TparamCurve& c, TparamCurve&) { return c.moveKeyframe(1, TtimeValue(INFINITY), 0.0, {}, true); }},
        {"NaN value", [](TparamCurve& c, TparamCurve&) { return c.moveKeyframe(1, TtimeValue(1.5f), NAN, {}, true); }},
        {"tick time on a float curve",
         [](TparamCurve& c, TparamCurve&) {
             return c.moveKeyframe(1, TtimeValue(TanimTime::fromTicks(9000)), 0.0, {}, true);
         }},
        {"bad index", [](TparamCurve& c, TparamCurve&) { return c.moveKeyframe(7, TtimeValue(1.5f), 0.0, {}, true); }},
        {"no change", [](TparamCurve& c, TparamCurve&) { return c.moveKeyframe(1, TtimeValue(1.0f), 1.0, {}, true); }},
        {"null key", [](TparamCurve& c, TparamCurve&) { return c.moveKeyframeHelper(nullptr, 1, {}, 0, 0, {}, true); }},
        // Found by fuzzing: a second component past the float range stored
        // an infinity in the key.
        {"second beyond the float range",
         [](TparamCurve& c, TparamCurve&) {
             c.setCurveKind(3);
             return c.moveKeyframeInValue(1, 4.0, 1e300);
         }},
        {"value move on a value-locked curve",
         [](TparamCurve& c, TparamCurve&) {
             c.setLockedParams(TparamCurve::kChangeValue);
             return c.moveKeyframeInValue(1, 4.0, 1.0);
         }},
        {"batch without beginMoveKeys",
         [](TparamCurve& c, TparamCurve&) {
             Thandles handles(c, {1});
             TtimeValueArray times, old;
             TdoubleArray values, oldValues;
             times.addLast(TtimeValue(1.5f));
             return c.moveKeys(handles.fArray, times, old, values, oldValues, {}, true);
         }},
        {"batch with mismatched lengths",
         [](TparamCurve& c, TparamCurve&) {
             Thandles handles(c, {1});
             TtimeValueArray times, old;
             TdoubleArray values, oldValues;
             c.beginMoveKeys(handles.fArray);
             return c.moveKeys(handles.fArray, times, old, values, oldValues, {}, true);
         }},
        {"batch with a NaN value",
         [](TparamCurve& c, TparamCurve&) {
             Thandles handles(c, {1});
             TtimeValueArray times, old;
             TdoubleArray values, oldValues;
             times.addLast(TtimeValue(1.5f));
             values.addLast(NAN);
             c.beginMoveKeys(handles.fArray);
             return c.moveKeys(handles.fArray, times, old, values, oldValues, {}, true);
         }},
        {"batch on a locked curve",
         [](TparamCurve& c, TparamCurve&) {
             Thandles handles(c, {1});
             c.beginMoveKeys(handles.fArray);
             c.setLockedParams(TparamCurve::kChangeTime);
             TtimeValueArray times, old;
             TdoubleArray values, oldValues;
             times.addLast(TtimeValue(1.5f));
             return c.moveKeys(handles.fArray, times, old, values, oldValues, {}, true);
         }},
        {"batch of another curve's keys and null handles",
         [](TparamCurve& c, TparamCurve& o) {
             Thandles handles(o, {1});
             handles.fArray.addLast(nullptr);
             c.beginMoveKeys(handles.fArray);
             return c.moveKeyList() != nullptr && !c.moveKeyList()->empty();
         }},
        {"swap of one key with itself", [](TparamCurve& c, TparamCurve&) { return c.swapKeys(1, 1); }},
        {"records outside a modification",
         [](TparamCurve& c, TparamCurve&) {
             Thandles handles(c, {1});
             TuInt32Array indices;
             TtimeValueArray times;
             TdoubleArray values;
             return c.generateDeltasForMove(handles.fArray, indices, times, values, nullptr, {});
         }},
    };
    for (Tcase const& c : cases) {
        auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
        std::string const before = curveState(*curve);
        EXPECT_FALSE(c.fCall(*curve, *other)) << c.fName;
        EXPECT_EQ(curveState(*curve), before) << c.fName;
        curve->endMoveKeys();
    }
}

// A key behind a handle that was deleted is not moved, and not read.
TEST(MoveRefusals, DeletedKeysBehindHandlesAreSkipped)
{
    auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    Thandles handles(*curve, {1, 2});
    handles.fArray[0]->makeClient();
    curve->beginMoveKeys(handles.fArray);
    curve->remove(1);
    TtimeValueArray times, old;
    TdoubleArray values, oldValues;
    times.addLast(TtimeValue(1.5f));
    times.addLast(TtimeValue(3.0f));
    EXPECT_TRUE(curve->moveKeys(handles.fArray, times, old, values, oldValues, {}, true));
    curve->endMoveKeys();
    EXPECT_EQ(keyTimes(*curve), (std::vector<double>{0.0, 3.0}));
}

// Reversing time around a key: types change sides; fixed tangents change
// sides with their slopes turned around.
TEST(SwitchInOutTangents, ExchangesSides)
{
    auto curve = std::make_unique<TparamCurve>(true);
    curve->add(Tkeyframe(0.0f, 0.0, kTangentFixed, kTangentFixed));
    curve->add(Tkeyframe(1.0f, 1.0, kTangentFixed, kTangentLinear), false, true);
    curve->add(Tkeyframe(2.0f, 0.0, kTangentSpline, kTangentSpline));
    curve->keyframe(1)->setTanIn(1.0f, 2.0f);
    TkeyframeHandle fixedKey(curve.get(), 1u, false);
    TkeyframeHandle sameTypes(curve.get(), 2u, false);
    EXPECT_TRUE(curve->switchInOutTangents(&fixedKey));
    Tkeyframe const& key = *curve->keyframe(1);
    EXPECT_EQ(key.storedTanInType(), kTangentLinear);
    EXPECT_EQ(key.storedTanOutType(), kTangentFixed);
    float x = 0.0f;
    float y = 0.0f;
    key.getTanOut(x, y);
    EXPECT_EQ(x, 1.0f);
    EXPECT_EQ(y, -2.0f);
    EXPECT_FALSE(curve->switchInOutTangents(&sameTypes)) << "equal computed types: nothing to exchange";
    EXPECT_FALSE(curve->switchInOutTangents(nullptr));
}

// Under the merge switch, a chain of drags of one key collapses into one
// record from the first state to the last, which undoes exactly.
TEST(MoveUndo, MergedDragsUndoToTheFirstState)
{
    auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 0.0}});
    curve->setTangentType(0, kTangentSpline, kTangentSpline);
    curve->setTangentType(1, kTangentSpline, kTangentSpline);
    std::string const original = curveState(*curve);
    TparamCurveDeltaComp merged;
    merged.setMergeSwitch(true);
    for (float t : {1.25f, 1.5f}) {
        curve->beginMod();
        curve->moveKeyframe(1, TtimeValue(t), 1.0 + t, TparamCurveEnums::kMoveBetweenNeighbours, true);
        Tdelta* step = curve->endMod();
        ASSERT_NE(step, nullptr);
        merged.merge(step);
    }
    ASSERT_EQ(merged.length(), 1u);
    auto const* drag = keelCast<TPCDdragKey>(merged.delta(0));
    ASSERT_NE(drag, nullptr);
    EXPECT_EQ(drag->previousTime().seconds(), 1.0);
    EXPECT_EQ(drag->currentTime().seconds(), 1.5);
    std::string const edited = curveState(*curve);
    merged.undo();
    EXPECT_EQ(curveState(*curve), original);
    merged.redo();
    EXPECT_EQ(curveState(*curve), edited);
}

// A host's segment record moves its keys back and forth by its change; the
// records a host makes for its own moves undo like the engine's.
TEST(MoveUndo, HostRecords)
{
    auto curve = keeltest::tickCurve({{0, 0.0}, {6000, 1.0}, {12000, 2.0}, {30000, 0.0}});
    std::string const original = curveState(*curve);
    ASSERT_TRUE(moveBy(*curve, {1, 2}, 1.0f, TparamCurveEnums::kMoveBetweenNeighbours));
    std::string const moved = curveState(*curve);
    Thandles handles(*curve, {1, 2});
    TuInt32Array indices;
    indices.addLast(1);
    indices.addLast(2);
    TPCDdragSegment segment(handles.fArray, indices, TtimeValue(TanimTime::fromTicks(6000)), 0.0,
                            TparamCurveEnums::kMoveBetweenNeighbours, curve.get());
    EXPECT_TRUE(segment.undo());
    EXPECT_EQ(curveState(*curve), original);
    EXPECT_TRUE(segment.redo());
    EXPECT_EQ(curveState(*curve), moved);

    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    TtimeValueArray times;
    TdoubleArray values;
    for (TkeyframeHandle* handle : handles.fArray) {
        times.addLast(handle->timeValue());
        values.addLast(handle->value());
    }
    ASSERT_TRUE(curve->generateDeltasForMove(handles.fArray, indices, times, values, nullptr, {}));
    user.endParamCurveMod(*curve);
    EXPECT_EQ(user.step().length(), 2u);
}

}  // namespace
