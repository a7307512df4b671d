// Undo loses nothing: random edits recorded in one or several modifications
// undo to the exact curve they started from and redo to the exact edited one.

#include "support/curveBuilders.h"
#include "support/museum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using keeltest::curveState;

// Steps hold the records the edits name, nothing else: observers and plug-ins
// see exactly those.
bool holdsOnlyNamedRecords(TparamCurveDeltaComp const& step)
{
    static Tmetaclass* const named[] = {TPCDaddRemoveKeyTmeta, TPCDinsertKeyTmeta, TPCDblockAddRemoveKeyTmeta,
                                        TPCDinfinityTypeTmeta, TPCDbreakdownTmeta, TPCDweightedTangentsTmeta,
                                        TPCDcurveDeltaTmeta,   TPCDdragTanTmeta,   TPCDdragKeyTmeta,
                                        TPCDscaleKeyTmeta};
    for (unsigned i = 0; i < step.length(); ++i) {
        if (std::find(std::begin(named), std::end(named), step.delta(i)->typeof()) == std::end(named)) {
            return false;
        }
    }
    return true;
}

class TrandomEditor {
public:
    explicit TrandomEditor(unsigned seed) : fRandom(seed) {}

    TtangentType anyType()
    {
        static TtangentType const types[] = {kTangentFixed,  kTangentLinear,   kTangentFlat,   kTangentStep,
                                             kTangentSlow,   kTangentFast,     kTangentSpline, kTangentClamped,
                                             kTangentAuto,   kTangentStepNext, kTangentSmooth, kTangentOldClamped,
                                             kTangentPlateau};
        return types[fRandom() % std::size(types)];
    }

    Tkeyframe anyKey(TparamCurve const& curve)
    {
        std::uniform_real_distribution<float> time(0.0f, 10.0f);
        std::uniform_real_distribution<double> value(-4.0, 4.0);
        float const t = float(int(time(fRandom) * 24.0f)) / 24.0f;  // frames, so keys meet again
        Tkeyframe key = curve.isFloatCurve() ? Tkeyframe(t, value(fRandom), anyType(), anyType())
                                             : Tkeyframe(TanimTime(t, kSeconds), value(fRandom), anyType(), anyType());
        key.setTanIn(1.0f, float(value(fRandom)));
        key.setTanOut(1.0f, float(value(fRandom)));
        return key;
    }

    // A tangent component, sometimes backwards in time or vanishing.
    float anyComponent()
    {
        std::uniform_real_distribution<float> component(-1.0f, 4.0f);
        return fRandom() % 8 == 0 ? 0.0f : component(fRandom);
    }

    // A time on the curve's frame grid, or a random real time.
    TtimeValue anyTime(TparamCurve const& curve, float from, float to)
    {
        std::uniform_real_distribution<float> time(from, to);
        float const t = fRandom() % 4 == 0 ? time(fRandom) : float(int(time(fRandom) * 24.0f)) / 24.0f;
        return curve.isFloatCurve() ? TtimeValue(t) : TtimeValue(TanimTime(t, kSeconds));
    }

    TparamCurveEnums::TmoveOption anyOption()
    {
        static int const options[] = {0, 1, 2, 3, 5};
        return TparamCurveEnums::TmoveOption(options[fRandom() % std::size(options)]);
    }

    // Handles to a random run of keys, in time order (the caller owns them).
    TkeyframeHandlePtrArray anyRun(TparamCurve& curve)
    {
        TkeyframeHandlePtrArray handles;
        unsigned const n = curve.keyframeCount();
        if (n == 0) {
            return handles;
        }
        unsigned const first = unsigned(fRandom() % n);
        unsigned const last = std::min(n - 1, first + unsigned(fRandom() % 4));
        for (unsigned i = first; i <= last; ++i) {
            if (i == first || i == last || fRandom() % 3 != 0) {
                handles.addLast(new TkeyframeHandle(&curve, i, false));
            }
        }
        return handles;
    }

    // A batch move, relative or to absolute times, under any option; a batch
    // never adds or drops keys unless the option replaces keys.
    void batchMove(TparamCurve& curve)
    {
        TkeyframeHandlePtrArray handles = anyRun(curve);
        TtimeValueArray newTimes, oldTimes;
        TdoubleArray newValues, oldValues;
        bool const relative = fRandom() % 2 == 0;
        TtimeValue const offset = anyTime(curve, -2.0f, 2.0f);
        double const valueOffset = double(fRandom() % 5) - 2.0;
        for (TkeyframeHandle* handle : handles) {
            newTimes.addLast(relative ? handle->timeValue() + offset : anyTime(curve, -1.0f, 11.0f));
            newValues.addLast(handle->value() + valueOffset);
        }
        TparamCurveEnums::TmoveOption const option = anyOption();
        unsigned const before = curve.keyframeCountAll();
        curve.beginMoveKeys(handles);
        curve.moveKeys(handles, newTimes, oldTimes, newValues, oldValues, option, fRandom() % 2 == 0);
        curve.endMoveKeys();
        if (option != TparamCurveEnums::kMoveReplace && option != TparamCurveEnums::kMoveReplaceBracketed) {
            EXPECT_EQ(curve.keyframeCountAll(), before) << "option " << option;
        }
        for (TkeyframeHandle* handle : handles) {
            delete handle;
        }
    }

    void scale(TparamCurve& curve)
    {
        static float const scales[] = {2.0f, 0.5f, -1.0f, -0.75f, 1.0f, 3.0f};
        if (fRandom() % 2 == 0) {
            TtimeValue const start = anyTime(curve, 0.0f, 10.0f);
            TtimeValue const end = fRandom() % 5 == 0 ? start : anyTime(curve, 0.0f, 10.0f);
            TtimeValue const newStart = anyTime(curve, 0.0f, 10.0f);
            TtimeValue const newEnd =
                fRandom() % 5 == 0 ? newStart + (curve.isFloatCurve() ? TtimeValue(0.0001f) : TanimTime::fromTicks(1))
                                   : anyTime(curve, 0.0f, 10.0f);
            curve.scaleRegion(start, end, newStart, newEnd, anyTime(curve, -1.0f, 11.0f));
            return;
        }
        TkeyframeHandlePtrArray handles = anyRun(curve);
        curve.scaleTimeAndValue(handles, scales[fRandom() % std::size(scales)], float(fRandom() % 10),
                                scales[fRandom() % std::size(scales)], double(fRandom() % 3));
        for (TkeyframeHandle* handle : handles) {
            delete handle;
        }
    }

    // Copies (which must leave the curve as it was), cuts of every option and
    // pastes of every mode, of the curve's own keys.
    void clipboardEdit(TparamCurve& curve)
    {
        TtimeValue const start = anyTime(curve, -1.0f, 10.0f);
        TtimeValue const end = fRandom() % 5 == 0 ? start : start + anyTime(curve, 0.0f, 4.0f);
        TclipboardCurves clipboard;
        if (fRandom() % 3 == 0) {
            std::string const before = keeltest::curveState(curve);
            clipboard.copyRange(curve, start, end, TparamCurve::TcopyOption(fRandom() % 3));
            EXPECT_EQ(keeltest::curveState(curve), before) << "a copy changed its source";
        } else {
            clipboard.cutRange(curve, start, end, TparamCurve::TcutOption(fRandom() % 7));
        }
        if (clipboard.empty()) {
            return;
        }
        TpasteSettings settings;
        settings.fRepetitions = 1 + fRandom() % 3;
        settings.fConnect = fRandom() % 4 == 0;
        settings.fValueOffset = double(fRandom() % 3);
        TtimeValue const at = anyTime(curve, -1.0f, 11.0f);
        clipboard.pasteOnto(curve, at, at + anyTime(curve, 0.0f, 3.0f), TparamCurve::TpasteOption(fRandom() % 10),
                            settings);
    }

    // A move each key of a run takes from a change function: a falloff about
    // the run's first key, or a lattice over the run with one point moved.
    void changeFunctionMove(TparamCurve& curve)
    {
        TkeyframeHandlePtrArray handles = anyRun(curve);
        TtimeValueArray oldTimes;
        curve.beginMoveKeys(handles);
        if (fRandom() % 2 == 0) {
            TfalloffFn falloff;
            falloff.setTimeChange(anyTime(curve, -1.0f, 1.0f));
            falloff.setValueChange(double(fRandom() % 5) - 2.0);
            falloff.setFalloffType(TfalloffFn::TfalloffFnType(fRandom() % 3));
            for (unsigned i = 0; i < handles.count(); ++i) {
                falloff.addKeyframeDist(handles[i]->keyframe(), double(i));
            }
            curve.moveKeys(handles, oldTimes, falloff, anyOption(), fRandom() % 2 == 0);
        } else {
            auto* lattice = new TsharedLatticeObject();
            lattice->ref();
            lattice->setSDivisions(2 + fRandom() % 3);
            lattice->setBoundingRect(TdblRect{0.0, -4.0, 10.0, 4.0});
            TlatticeFn deform;
            deform.setLatticeParams(lattice);
            for (TkeyframeHandle* handle : handles) {
                deform.addOrigValue(handle->keyframe(), float(handle->timeValue().seconds()), handle->value(), 1.0);
            }
            lattice->setLatticePair(1, 1, double(fRandom() % 5) * 0.25, double(fRandom() % 5) * 0.25);
            deform.setLatticeDirty();
            curve.moveKeys(handles, oldTimes, deform, anyOption(), false);
            lattice->unref();
        }
        curve.endMoveKeys();
        for (TkeyframeHandle* handle : handles) {
            delete handle;
        }
    }

    // A retime: a run of keys scaled about its first key, the keys after it
    // rippled.
    void retime(TparamCurve& curve)
    {
        unsigned const n = curve.keyframeCount();
        if (n == 0) {
            return;
        }
        unsigned const first = unsigned(fRandom() % n);
        unsigned const last = std::min(n - 1, first + unsigned(fRandom() % 3));
        TpickKeyList region;
        TpickKeyList ripple;
        TpickKeyList const none;
        for (unsigned i = first; i < n; ++i) {
            TpickKey pick;
            pick.create(&curve, i, TbitField32(kPickKeyMask), false, true);
            (i <= last ? region : ripple).insert(curve.timeValue(i), pick);
        }
        static float const scales[] = {2.0f, 0.5f, 1.5f};
        static float const offsets[] = {1.0f, -0.25f, 0.0f};
        curve.retimeRegions(region, none, ripple, scales[fRandom() % 3], 1.0f, offsets[fRandom() % 3],
                            curve.timeValue(first), TtimeValue());
    }

    // Moves and scales: batches, single keys, values, replacements, swaps.
    void moveOrScale(TparamCurve& curve, unsigned at)
    {
        switch (fRandom() % 6) {
        case 0: batchMove(curve); break;
        case 1:
            curve.moveKeyframe(at, anyTime(curve, -1.0f, 11.0f), double(fRandom() % 7) - 3.0, anyOption(), true);
            break;
        case 2: curve.moveKeyframeInValue(at, double(fRandom() % 7) - 3.0, 1.0); break;
        case 3: {
            TkeyframeHandlePtrArray handles = anyRun(curve);
            TtimeValueArray newTimes, replaced;
            for (unsigned i = 0; i < handles.count(); ++i) {
                newTimes.addLast(anyTime(curve, 0.0f, 10.0f));
            }
            curve.replaceKeys(handles, newTimes, replaced, anyOption());
            for (TkeyframeHandle* handle : handles) {
                delete handle;
            }
            break;
        }
        case 4: curve.swapKeys(at, unsigned(fRandom() % std::max(1u, curve.keyframeCount()))); break;
        default: scale(curve); break;
        }
    }

    void edit(TparamCurve& curve)
    {
        unsigned const n = curve.keyframeCount();
        unsigned const at = n > 0 ? unsigned(fRandom() % n) : 0;
        switch (fRandom() % 24) {
        case 20:
        case 21: clipboardEdit(curve); break;
        case 22: changeFunctionMove(curve); break;
        case 23: retime(curve); break;
        case 14:
        case 15:
        case 16:
        case 17:
        case 18:
        case 19: moveOrScale(curve, at); break;
        case 0: curve.add(anyKey(curve)); break;
        case 1: curve.insert(anyKey(curve), false, false); break;
        case 2: curve.insertKey(anyKey(curve), false); break;
        case 3: curve.insertKey(anyKey(curve), true); break;
        case 4: {
            TanimTimeArray times;
            TdoubleArray values;
            for (int k = 0; k < 4; ++k) {
                Tkeyframe const key = anyKey(curve);
                times.addLast(key.isTickTime() ? key.animTime() : TanimTime(key.floatTime(), kSeconds));
                values.addLast(key.value());
            }
            curve.blockAdd(times, values, anyType(), anyType());
            break;
        }
        case 5: curve.remove(at); break;
        case 6: {
            Tkeyframe* old = curve.keyframe(at);
            if (old != nullptr) {
                Tkeyframe replacement(*old);
                replacement.setValue(old->value() + 1.0);
                replacement.setTanOutType(anyType());
                curve.replaceKey(old, replacement);
            }
            break;
        }
        case 7: curve.setPreInfinityType(static_cast<TparamCurveEnums::TinfinityType>(fRandom() % 7)); break;
        case 8: curve.setPostInfinityType(static_cast<TparamCurveEnums::TinfinityType>(fRandom() % 7)); break;
        case 9: curve.setBreakdown(at, fRandom() % 2 == 0); break;
        case 10: curve.dragTangent(at, anyComponent(), anyComponent(), fRandom() % 2 == 0); break;
        case 11: curve.editTangent(at, anyComponent(), anyComponent(), fRandom() % 2 == 0, 1.5f, 0.5f); break;
        case 12:
            switch (fRandom() % 3) {
            case 0: curve.setTangentsLocked(at, fRandom() % 2 == 0); break;
            case 1: curve.setWeightsLocked(at, fRandom() % 2 == 0); break;
            default: curve.setTangentType(at, anyType(), anyType()); break;
            }
            break;
        default: curve.setIsWeighted(!curve.isWeighted()); break;
        }
    }

    std::mt19937& random() { return fRandom; }

private:
    std::mt19937 fRandom;
};

std::unique_ptr<TparamCurve> randomCurve(TrandomEditor& editor, bool floatTime)
{
    auto curve = std::make_unique<TparamCurve>(floatTime);
    curve->setCurveFlag(TparamCurve::kWeightedBit, editor.random()() % 2 == 0);
    unsigned const keys = editor.random()() % 6;
    for (unsigned i = 0; i < keys; ++i) {
        curve->add(editor.anyKey(*curve));
    }
    return curve;
}

// The museum's awkward shapes come first, then random curves of both forms.
TEST(UndoRoundTrip, TenThousandSequencesUndoAndRedoExactly)
{
    constexpr int kSequences = 10000;
    auto const& museum = keeltest::museum();
    TrandomEditor editor(2026);
    for (int sequence = 0; sequence < kSequences; ++sequence) {
        auto curve =
            std::size_t(sequence) < museum.size() ? museum[sequence].fBuild() : randomCurve(editor, sequence % 2 == 0);
        std::string const original = curveState(*curve);
        TparamCurveDeltaUser user;
        unsigned const modifications = 1 + editor.random()() % 3;
        for (unsigned m = 0; m < modifications; ++m) {
            user.beginParamCurveMod(*curve);
            unsigned const edits = 1 + editor.random()() % 6;
            for (unsigned e = 0; e < edits; ++e) {
                editor.edit(*curve);
                ASSERT_TRUE(keeltest::keysInOrder(*curve)) << "sequence " << sequence;
            }
            user.endParamCurveMod(*curve);
        }
        std::string const edited = curveState(*curve);
        ASSERT_TRUE(holdsOnlyNamedRecords(user.step())) << "sequence " << sequence;
        user.undoPC();
        ASSERT_EQ(curveState(*curve), original) << "sequence " << sequence << " undo";
        user.redoPC();
        ASSERT_EQ(curveState(*curve), edited) << "sequence " << sequence << " redo";
        user.undoPC();
        ASSERT_EQ(curveState(*curve), original) << "sequence " << sequence << " second undo";
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

// Edits that record nothing make no step: setValue is not undoable.
// Found by fuzzing: a change of tangent types recorded nothing, so undo
// kept the new types and a redo of the key's insertion brought back tangents
// the types no longer made.
TEST(UndoRegressions, TangentTypeChangesUndoAndRedo)
{
    for (TtangentType type : {kTangentSlow, kTangentClamped, kTangentStep, kTangentLinear, kTangentPlateau}) {
        auto curve = keeltest::floatCurve({{0.0f, 1.0f}, {1.0f, 3.0f}, {2.5f, 2.0f}});
        TparamCurveDeltaUser user;
        std::string const before = curveState(*curve);
        user.beginParamCurveMod(*curve);
        curve->insert(TtimeValue(1.5f), false, false);
        curve->setTangentType(2, type, kTangentClamped);
        curve->setTangentType(0, type, kPickOutTangentBit);
        user.endParamCurveMod(*curve);
        std::string const after = curveState(*curve);
        user.undoPC();
        EXPECT_EQ(curveState(*curve), before) << "type " << type;
        user.redoPC();
        EXPECT_EQ(curveState(*curve), after) << "type " << type;
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
