#pragma once

// A random editor of curves: every kind of edit the engine records for undo,
// with random arguments that meet keys again (frame times) and sometimes
// break the rules (random real times, refused options). The undo property
// test and the soak drive it.

#include "support/curveBuilders.h"

#include <keelanim/keelanim.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <utility>

namespace keeltest {

// Steps hold the records the edits name, nothing else: observers and plug-ins
// see exactly those.
inline bool holdsOnlyNamedRecords(TparamCurveDeltaComp const& step)
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
            if (curve.keyframeCountAll() != before) {
                fBroken = "a batch move under option " + std::to_string(option) + " changed the key count";
            }
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
        float const timeScale = scales[fRandom() % std::size(scales)];
        float const timePivot = float(fRandom() % 10);
        float const valueScale = scales[fRandom() % std::size(scales)];
        double const valuePivot = double(fRandom() % 3);
        fTrace += "[scale " + std::to_string(handles.count()) + " keys from " +
                  std::to_string(handles.empty() ? 0 : curve.indexOfKey(handles[0]->keyframe())) + ": " +
                  std::to_string(timeScale) + " about " + std::to_string(timePivot) + ", values " +
                  std::to_string(valueScale) + " about " + std::to_string(valuePivot) + "] ";
        curve.scaleTimeAndValue(handles, timeScale, timePivot, valueScale, valuePivot);
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
            std::string const before = curveState(curve);
            clipboard.copyRange(curve, start, end, TparamCurve::TcopyOption(fRandom() % 3));
            if (curveState(curve) != before) {
                fBroken = "a copy changed its source";
            }
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
        unsigned const kind = fRandom() % 6;
        fTrace += "(" + std::to_string(kind) + ") ";
        switch (kind) {
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
        unsigned kind = fRandom() % 24;
        while (fSkipped.find(" " + std::to_string(kind) + " ") != std::string::npos) {
            kind = fRandom() % 24;
        }
        fTrace += std::to_string(kind) + " ";
        switch (kind) {
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
    // What an edit broke that undo cannot show (empty when nothing).
    std::string const& broken() const { return fBroken; }
    // Leaves out the kinds of edit listed (numbers separated by spaces), to
    // find which kind a failure needs.
    void skip(std::string const& kinds) { fSkipped = " " + kinds + " "; }
    // The kinds of edit made since the last call, for a failure's report.
    std::string takeTrace() { return std::exchange(fTrace, std::string()); }

private:
    std::mt19937 fRandom;
    std::string fBroken;
    std::string fTrace;
    std::string fSkipped;
};

inline std::unique_ptr<TparamCurve> randomCurve(TrandomEditor& editor, bool floatTime)
{
    auto curve = std::make_unique<TparamCurve>(floatTime);
    curve->setCurveFlag(TparamCurve::kWeightedBit, editor.random()() % 2 == 0);
    unsigned const keys = editor.random()() % 6;
    for (unsigned i = 0; i < keys; ++i) {
        curve->add(editor.anyKey(*curve));
    }
    return curve;
}

// One random sequence on `curve`: one to three modifications of one to six
// edits, then undo, redo and undo again, each of which must give back the
// exact curve it should. Answers what broke, or nothing.
inline std::string undoSequence(TrandomEditor& editor, TparamCurve& curve)
{
    editor.takeTrace();
    std::string const original = curveState(curve);
    TparamCurveDeltaUser user;
    unsigned const modifications = 1 + editor.random()() % 3;
    for (unsigned m = 0; m < modifications; ++m) {
        user.beginParamCurveMod(curve);
        unsigned const edits = 1 + editor.random()() % 6;
        for (unsigned e = 0; e < edits; ++e) {
            editor.edit(curve);
            if (!keysInOrder(curve)) {
                return "keys out of order";
            }
            if (!editor.broken().empty()) {
                return editor.broken();
            }
        }
        user.endParamCurveMod(curve);
    }
    std::string const edited = curveState(curve);
    if (!holdsOnlyNamedRecords(user.step())) {
        return "a step holds a record no edit names";
    }
    // What went wrong, with the records and the two curves that differ.
    auto report = [&](char const* what, std::string const& expected) {
        std::string records;
        for (unsigned i = 0; i < user.step().length(); ++i) {
            records += std::string(user.step().delta(i)->typeof()->name()) + " ";
        }
        return std::string(what) + " after edits " + editor.takeTrace() + "\nrecords: " + records + "\nexpected:\n" +
               expected + "found:\n" + curveState(curve);
    };
    user.undoPC();
    if (curveState(curve) != original) {
        return report("undo", original);
    }
    user.redoPC();
    if (curveState(curve) != edited) {
        return report("redo", edited);
    }
    user.undoPC();
    return curveState(curve) == original ? "" : report("second undo", original);
}

}  // namespace keeltest
