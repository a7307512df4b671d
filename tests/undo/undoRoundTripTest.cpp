// Undo loses nothing: random edits recorded in one or several modifications
// undo to the exact curve they started from and redo to the exact edited one.

#include "support/curveBuilders.h"
#include "support/museum.h"
#include "support/randomEditor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using keeltest::curveState;
using keeltest::holdsOnlyNamedRecords;
using keeltest::randomCurve;
using keeltest::TrandomEditor;

// The museum's awkward shapes come first, then random curves of both forms.
TEST(UndoRoundTrip, TenThousandSequencesUndoAndRedoExactly)
{
    constexpr int kSequences = 10000;
    auto const& museum = keeltest::museum();
    TrandomEditor editor(2026);
    for (int sequence = 0; sequence < kSequences; ++sequence) {
        auto curve =
            std::size_t(sequence) < museum.size() ? museum[sequence].fBuild() : randomCurve(editor, sequence % 2 == 0);
        ASSERT_EQ(keeltest::undoSequence(editor, *curve), "") << "sequence " << sequence;
    }
}

TEST(UndoRoundTrip, StepsOfTwoCurvesUndoTogether)
{
    TrandomEditor editor(7);
    for (int sequence = 0; sequence < 200; ++sequence) {
        auto a = randomCurve(editor, true);
        auto b = randomCurve(editor, false);
        std::string const aBefore = curveState(*a);
        std::string const bBefore = curveState(*b);
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*a);
        user.beginParamCurveMod(*b);
        for (int e = 0; e < 5; ++e) {
            editor.edit(*a);
            editor.edit(*b);
        }
        user.endParamCurveMod(*a);
        user.endParamCurveMod(*b);
        user.undoPC();
        ASSERT_EQ(curveState(*a), aBefore) << sequence;
        ASSERT_EQ(curveState(*b), bBefore) << sequence;
    }
}

// A helper that refuses every change a curve asks about.
void refuseEverything(Tclient*, TclientServer*, TserverMsg const& msg)
{
    if (auto const* question = keelCast<TparamCurveHelperMsg>(&msg);
        question != nullptr && question->kind() == TparamCurveHelperMsg::kAskBeforeChange) {
        question->setAnswer(TbitField32(0u));
    }
}

// Undo and redo on a locked or vetoed curve are refused as edits are: the
// curve stays bit-identical and nobody hears anything; once the lock or the
// veto is gone, the same step undoes exactly.
TEST(UndoRoundTrip, RefusedReplayChangesNothingAndSaysNothing)
{
    TrandomEditor editor(31);
    Tclient vetoer;
    for (int sequence = 0; sequence < 1000; ++sequence) {
        bool const veto = sequence % 2 == 1;
        auto curve = randomCurve(editor, sequence % 4 < 2);
        std::string const original = curveState(*curve);
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*curve);
        for (unsigned e = 1 + editor.random()() % 6; e > 0; --e) {
            editor.edit(*curve);
        }
        user.endParamCurveMod(*curve);
        std::string const edited = curveState(*curve);
        keeltest::TmessageLog heard;
        curve->addClient(&heard, TparamCurveModifiedMsgTmeta, &keeltest::TmessageLog::heard);
        TparamCurve::addGlobalClient(&heard, &keeltest::TmessageLog::heard);
        if (veto) {
            TparamCurve::addGlobalHelper(&vetoer, &refuseEverything);
            curve->setCurveFlag(TparamCurve::kAskHelpersBit, true);
        } else {
            curve->setLockedParams(~0u);
        }
        user.undoPC();
        ASSERT_EQ(curveState(*curve), edited) << "sequence " << sequence << (veto ? " vetoed" : " locked");
        ASSERT_TRUE(heard.fEntries.empty()) << "sequence " << sequence;
        TparamCurve::globalMsgDepot().removeClient(&vetoer);
        TparamCurve::removeGlobalClient(&heard);
        curve->setCurveFlag(TparamCurve::kAskHelpersBit, false);
        curve->setLockedParams(0);
        user.undoPC();
        ASSERT_EQ(curveState(*curve), original) << "sequence " << sequence << " undone once allowed";
        user.redoPC();
        ASSERT_EQ(curveState(*curve), edited) << "sequence " << sequence << " redone";
    }
}

// Records `edit` in one modification of `curve`, then checks that undo gives
// back the curve before it and redo the curve after it.
template <class Edit> void expectUndoAndRedo(TparamCurve& curve, Edit&& edit, std::string const& label)
{
    std::string const before = curveState(curve);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(curve);
    edit();
    user.endParamCurveMod(curve);
    std::string const after = curveState(curve);
    user.undoPC();
    EXPECT_EQ(curveState(curve), before) << label;
    user.redoPC();
    EXPECT_EQ(curveState(curve), after) << label;
}

// Edits that record nothing make no step: setValue is not undoable.
// Found by fuzzing: a change of tangent types recorded nothing, so undo
// kept the new types and a redo of the key's insertion brought back tangents
// the types no longer made.
TEST(UndoRegressions, TangentTypeChangesUndoAndRedo)
{
    for (TtangentType type : {kTangentSlow, kTangentClamped, kTangentStep, kTangentLinear, kTangentPlateau}) {
        auto curve = keeltest::floatCurve({{0.0f, 1.0f}, {1.0f, 3.0f}, {2.5f, 2.0f}});
        expectUndoAndRedo(
            *curve,
            [&] {
                curve->insert(TtimeValue(1.5f), false, false);
                curve->setTangentType(2, type, kTangentClamped);
                curve->setTangentType(0, type, kPickOutTangentBit);
            },
            "type " + std::to_string(type));
    }
}

// Found by fuzzing: setting a key's own types again re-derived a neighbour's
// stale tangent without a record to carry it, so redo lost it.
TEST(UndoRegressions, SettingTheSameTangentTypesUndoesAndRedoes)
{
    auto curve = keeltest::floatCurve({{0.0f, 1.0f}, {1.0f, 3.0f}});
    curve->setTangentType(1, kTangentSpline, kTangentSpline);
    curve->setTangentType(0, kTangentClamped, kTangentSpline);
    curve->keyframe(0)->setTanIn(0.0f, 0.0f);  // stale: its rule makes another vector
    std::string const before = curveState(*curve);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    EXPECT_TRUE(curve->setTangentType(1, kTangentSpline, kTangentSpline));
    user.endParamCurveMod(*curve);
    std::string const after = curveState(*curve);
    EXPECT_NE(after, before) << "the neighbour's tangent is derived again";
    user.undoPC();
    EXPECT_EQ(curveState(*curve), before);
    user.redoPC();
    EXPECT_EQ(curveState(*curve), after);
}

// Found by the soak: a value scale also scaled the tangents of sides whose
// rule derives them again, before the change's journal could see them as
// they were; undo then put back the scaled tangent of the key sitting on the
// pivot (its value, and in the end its tangents, unchanged by the scale).
TEST(UndoRegressions, AValueScaleLeavesDerivedTangentsToTheirRecord)
{
    struct Tkey {
        int fTicks;
        double fValue;
        float fInX, fInY, fOutX, fOutY;
        TtangentType fIn, fOut;
    } const keys[] = {
        {12250, -1.2304480393220305, 0, 0, 0.50001102f, 0.86601907f, kTangentStepNext, kTangentFast},
        {44000, 1.0, 0, 0, 0.86608177f, 0.49990240f, kTangentStepNext, kTangentSlow},
        {46250, -0.93247211785412709, 1, 1.50582194f, 0.50001102f, 0.86601913f, kTangentFixed, kTangentFast},
        {53500, 2.0, 0.76597762f, -0.64286715f, 0, 0, kTangentOldClamped, kTangentStepNext},
        {55750, -2.2613269295274159, 0.86608177f, 0.49990240f, 1, -3.51959562f, kTangentSlow, kTangentFixed},
    };
    TparamCurve curve(false);
    curve.setCurveFlag(TparamCurve::kWeightedBit, false);
    for (Tkey const& k : keys) {
        Tkeyframe key(TanimTime::fromTicks(k.fTicks), k.fValue, k.fIn, k.fOut);
        curve.add(key, false, true);
    }
    for (unsigned i = 0; i < std::size(keys); ++i) {
        curve.keyframe(i)->setTanIn(keys[i].fInX, keys[i].fInY);
        curve.keyframe(i)->setTanOut(keys[i].fOutX, keys[i].fOutY);
    }
    TkeyframeHandle k0(&curve, 0u, false);
    TkeyframeHandle k1(&curve, 1u, false);
    TkeyframeHandle k2(&curve, 2u, false);
    TkeyframeHandlePtrArray handles;
    handles.addLast(&k0);
    handles.addLast(&k1);
    handles.addLast(&k2);
    std::string const before = curveState(curve);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(curve);
    ASSERT_TRUE(curve.scaleTimeAndValue(handles, 1.0f, 0.0f, 3.0f, 1.0));
    user.endParamCurveMod(curve);
    std::string const after = curveState(curve);
    user.undoPC();
    EXPECT_EQ(curveState(curve), before);
    user.redoPC();
    EXPECT_EQ(curveState(curve), after);
}

// Found by fuzzing: a picked edit re-derived a later key's stale computed
// side, then dragged that key itself; the re-derived tangents went into the
// change's journal as they stood before the drag, and redo put them back over
// it.
TEST(UndoRegressions, AKeyReDerivedThenDraggedInOneChangeRedoesToTheDrag)
{
    for (TtangentType type : {kTangentLinear, kTangentSpline, kTangentClamped, kTangentFlat}) {
        auto curve = keeltest::floatCurve({{0.0f, 1.0f}, {1.0f, 3.0f}, {2.5f, 2.0f}});
        curve->setTangentType(2, type, kTangentFixed);
        curve->keyframe(2)->setTanIn(1.0f, 5.0f);  // stale: its rule makes another vector
        TpickKeyDictionary picks;
        for (unsigned index : {1u, 2u}) {
            TpickKey key;
            ASSERT_EQ(
                key.create(curve.get(), index, TbitField32(kPickInTangentMask | kPickOutTangentMask), false, true), 0);
            picks.insert(curve->timeValue(index), key);
        }
        expectUndoAndRedo(
            *curve, [&] { EXPECT_TRUE(curve->adjustTangents(picks, 1e-5f, 1.0f, 1.0f, 1.0f)); },
            "type " + std::to_string(type));
    }
}

// Found by fuzzing: with replacements locked (a tangent-type bit), a cut that
// keys both ends of its range could not redo how the second key reshaped its
// neighbours: they went back through replaceKey, whose mask the lock
// refuses, although the insertion itself was allowed.
TEST(UndoRegressions, InsertionsReshapeTheirNeighboursAgainUnderAReplacementLock)
{
    auto curve = keeltest::buildCurve(false, false,
                                      {{-3.5, 5.0, 0.375f, 0, 0, 0, kTangentAuto, kTangentHermite},
                                       {7.25, 0.0, 10.75f, -9.956f, 0, 0, kTangentAuto, kTangentHermite},
                                       {82.086, -74.3, 74.836f, 0, 0, 0, kTangentAuto, kTangentHermite}});
    curve->setLockedParams(128);
    TclipboardCurves clipboard;
    expectUndoAndRedo(
        *curve,
        [&] {
            EXPECT_TRUE(clipboard.cutRange(*curve, TtimeValue(TanimTime(4.25, kSeconds)),
                                           TtimeValue(TanimTime(5.5, kSeconds)), TparamCurve::TcutOption(3)));
        },
        "a cut keying both ends");
}

// Found by fuzzing: keys replaced on a rotation triple, then a lock on
// replacements set on one channel. Undo and redo of the step went through
// replaceKey, which the lock refuses, so redo gave back another key.
TEST(UndoRegressions, ReplacedKeysComeBackWholeAfterALockOnReplacements)
{
    TparamCurve channels[3];
    TrotationTriple triple(channels[0], channels[1], channels[2]);
    auto states = [&channels] { return curveState(channels[0]) + curveState(channels[1]) + curveState(channels[2]); };
    TparamCurveDeltaUser user;
    for (TparamCurve& channel : channels) {
        user.beginParamCurveMod(channel);
    }
    ASSERT_TRUE(channels[0].insert(TtimeValue(2.0f), false, true));
    ASSERT_TRUE(triple.setKey(TtimeValue(2.0f), TrotateXYZ{0.3, -0.2, 0.9}, TtangentType(55), TtangentType(41)));
    for (TparamCurve& channel : channels) {
        user.endParamCurveMod(channel);
    }
    channels[2].setLockedParams(128);
    std::string const done = states();
    user.undoPC();
    user.redoPC();
    EXPECT_EQ(states(), done);
}

TEST(UndoSteps, AModificationOfUnrecordedEditsMakesNoStep)
{
    auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 0.0}});
    curve->setTangentType(1, kTangentSpline, kTangentSpline);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    EXPECT_TRUE(curve->setValue(1, 3.0));
    EXPECT_FALSE(user.endParamCurveMod(*curve)) << "nothing was recorded";
    EXPECT_EQ(user.step().length(), 0u);
}

// Keys deleted without a record (all keys at once, assignment, a removal
// outside a modification) are never read again by the records made before:
// those records are inert. The sanitizer pass checks that nothing is read.
TEST(UndoSteps, RecordsOfDeletedKeysAreInert)
{
    struct Tcase {
        char const* fName;
        void (*fDrop)(TparamCurve&);
        bool fInsideTheModification;
    };
    Tcase const cases[] = {
        {"all keys, inside", [](TparamCurve& curve) { curve.removeAllKeys(); }, true},
        {"all keys, after", [](TparamCurve& curve) { curve.removeAllKeys(); }, false},
        {"assignment, inside", [](TparamCurve& curve) { curve = TparamCurve(true); }, true},
        {"removal outside a modification", [](TparamCurve& curve) { curve.remove(1); }, false},
    };
    for (Tcase const& c : cases) {
        auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 0.0}});
        curve->setTangentType(0, kTangentSpline, kTangentSpline);
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*curve);
        curve->add(Tkeyframe(1.5f, 4.0, kTangentSpline, kTangentSpline));
        curve->setValue(1, 2.0);
        if (c.fInsideTheModification) {
            c.fDrop(*curve);
        }
        user.endParamCurveMod(*curve);
        if (!c.fInsideTheModification) {
            c.fDrop(*curve);
        }
        std::string const dropped = curveState(*curve);
        user.undoPC();
        EXPECT_EQ(curveState(*curve), dropped) << c.fName;
        user.redoPC();
        EXPECT_EQ(curveState(*curve), dropped) << c.fName;
    }
}

}  // namespace
