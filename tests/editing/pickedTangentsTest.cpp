// Tangent locks and lock-preserving edits over the keys and tangents of a
// pick dictionary, and a tangent changed elsewhere brought back in line.

#include "support/curveBuilders.h"
#include "support/museum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

using keeltest::curveState;

namespace {

constexpr float kUnitScale = 1.0f;

// Keys start with their tangents and weights locked; these start unlocked,
// with tangents of some length to keep.
std::unique_ptr<TparamCurve> threeKeys(bool weighted)
{
    auto curve = keeltest::buildCurve(true, weighted, {{0, 0, 1, 0, 1, 1}, {1, 2, 1, 1, 1, -1}, {2, 1, 1, 0, 1, 0.5f}});
    for (unsigned i = 0; i < 3; ++i) {
        curve->setTangentsLocked(i, false);
        curve->setWeightsLocked(i, false);
    }
    return curve;
}

// Picks of `parts` on keys `indices`; key `inactive` (if any) picked but void.
void pick(TparamCurve& curve, TpickKeyDictionary& picks, std::initializer_list<unsigned> indices, std::uint32_t parts,
          int inactive = -1)
{
    for (unsigned index : indices) {
        TpickKey key;
        ASSERT_EQ(key.create(&curve, index, TbitField32(parts), false, true), 0);
        if (int(index) == inactive) {
            key.setFlags(TbitField32(parts | (1u << kPickInactiveBit)));
        }
        picks.insert(curve.timeValue(index), key);
    }
}

TEST(PickedTangentLocks, OneBracketEveryActivePickToldAndUndoable)
{
    auto curve = threeKeys(true);
    TpickKeyDictionary picks;
    pick(*curve, picks, {0, 1, 2}, kPickKeyMask, 1);
    keeltest::TmessageLog heard;
    curve->addClient(&heard, TparamCurveModifiedMsgTmeta, &keeltest::TmessageLog::heard);
    std::string const before = curveState(*curve);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    EXPECT_TRUE(curve->setTangentLockedStatus(picks, true));
    EXPECT_TRUE(curve->setWeightLockedStatus(picks, true));
    user.endParamCurveMod(*curve);
    EXPECT_TRUE(curve->tangentsLocked(0) && curve->tangentsLocked(2) && curve->weightsLocked(2));
    EXPECT_FALSE(curve->tangentsLocked(1)) << "a void pick is passed over";
    EXPECT_EQ(heard.count(TparamCurveModifiedMsgTmeta), 4u) << "each active pick, each time, on any curve";
    user.undoPC();
    EXPECT_EQ(curveState(*curve), before);
    curve->setLockedParams(256);
    EXPECT_FALSE(curve->setTangentLockedStatus(picks, true)) << "a locked channel refuses";
    EXPECT_EQ(curveState(*curve), before);
    TpickKeyDictionary none;
    EXPECT_TRUE(curve->setWeightLockedStatus(none, true)) << "an empty dictionary opens and closes the bracket";
    curve->removeClient(&heard);
}

// Each form of the picked edit gives every picked tangent what editTangent
// gives it, undoes exactly, and refuses all on a locked curve.
TEST(PickedTangentEdits, EveryFormEditsAsEditTangentAndUndoesExactly)
{
    struct Tcase {
        char const* fName;
        bool (*fOverPicks)(TparamCurve&, TpickKeyDictionary const&);
        bool (*fOneSide)(TparamCurve&, unsigned, bool);
    };
    Tcase const cases[] = {
        {"vector", [](TparamCurve& c, TpickKeyDictionary const& p) { return c.adjustTangents(p, 1.0f, 3.0f, 1, 1); },
         [](TparamCurve& c, unsigned i, bool in) { return c.editTangent(i, 1.0f, 3.0f, in, 1, 1); }},
        {"angle",
         [](TparamCurve& c, TpickKeyDictionary const& p) {
             return c.adjustTangents(p, Tangle(0.5, kRadians), kUnitScale, kUnitScale);
         },
         [](TparamCurve& c, unsigned i, bool in) {
             float x = 0, y = 0;
             return c.setTangentAngle(i, Tangle(0.5, kRadians), in, x, y, 1, 1) && c.editTangent(i, x, y, in, 1, 1);
         }},
        {"weight", [](TparamCurve& c, TpickKeyDictionary const& p) { return c.adjustTangents(p, 0.8f, 1, 1); },
         [](TparamCurve& c, unsigned i, bool in) {
             float x = 0, y = 0;
             return c.setTangentWeight(i, 0.8f, in, x, y, 1, 1) && c.editTangent(i, x, y, in, 1, 1);
         }},
    };
    for (Tcase const& c : cases) {
        auto curve = threeKeys(true);
        auto twin = threeKeys(true);
        curve->setTangentsLocked(2, true);
        twin->setTangentsLocked(2, true);
        TpickKeyDictionary picks;
        pick(*curve, picks, {0}, kPickInTangentMask | kPickOutTangentMask);
        pick(*curve, picks, {2}, kPickKeyMask);
        std::string const before = curveState(*curve);
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*curve);
        ASSERT_TRUE(c.fOverPicks(*curve, picks)) << c.fName;
        user.endParamCurveMod(*curve);
        ASSERT_TRUE(c.fOneSide(*twin, 0, true) && c.fOneSide(*twin, 0, false) && c.fOneSide(*twin, 2, false));
        EXPECT_EQ(curveState(*curve), curveState(*twin)) << c.fName;
        std::string const after = curveState(*curve);
        user.undoPC();
        EXPECT_EQ(curveState(*curve), before) << c.fName;
        user.redoPC();
        EXPECT_EQ(curveState(*curve), after) << c.fName;
        user.undoPC();
        curve->setLockedParams(~0u);
        EXPECT_FALSE(c.fOverPicks(*curve, picks)) << c.fName;
        EXPECT_EQ(curveState(*curve), before) << c.fName << ": nothing changed";
    }
}

// A tangent set elsewhere is brought back in line with the key's locks as
// they were, and the whole change undoes to the key as it was.
TEST(PickedTangentEdits, ATangentChangedElsewhereKeepsTheLocks)
{
    auto curve = threeKeys(true);
    curve->setTangentsLocked(1, true);
    curve->setWeightsLocked(1, true);
    Tkeyframe const before(*curve->keyframe(1));
    std::string const state = curveState(*curve);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    ASSERT_TRUE(curve->setTanOut(curve->keyframe(1), 4.0f, 4.0f));
    ASSERT_TRUE(curve->manageTangentChangeWhenLocked(1, false, before, kUnitScale, kUnitScale));
    user.endParamCurveMod(*curve);
    float ox = 0, oy = 0, bx = 0, by = 0, ix = 0, iy = 0;
    curve->keyframe(1)->getTanOut(ox, oy);
    before.getTanOut(bx, by);
    curve->keyframe(1)->getTanIn(ix, iy);
    EXPECT_NEAR(std::hypot(ox, oy), std::hypot(bx, by), 1e-5) << "the locked weight's length";
    EXPECT_NEAR(oy / ox, 1.0, 1e-5) << "along the new direction";
    EXPECT_NEAR(iy / ix, 1.0, 1e-5) << "the locked in-tangent follows";
    user.undoPC();
    EXPECT_EQ(curveState(*curve), state);
    float x = 2.0f;
    float y = 1.0f;
    EXPECT_TRUE(curve->adjustTangent(0, false, x, y, kUnitScale, kUnitScale));
    float storedX = 0, storedY = 0;
    curve->keyframe(0)->getTanOut(storedX, storedY);
    EXPECT_EQ(x, storedX) << "the vector the side took";
    EXPECT_EQ(y, storedY);
    EXPECT_FALSE(curve->manageTangentChangeWhenLocked(7, false, before, 1, 1));
    EXPECT_FALSE(curve->manageTangentChangeWhenLocked(1, false, before, 0, 1)) << "a zero display scale";
}

}  // namespace
