// The engine's main job on a built-in example: keys of both time forms kept
// in order, curves edited inside a delayed batch with what their observers
// heard, curves of every span kind evaluated across their keys and into
// every infinity type (drawn to an SVG file when the keelcurve tool is
// built), and the editing layer: picks, tangents, moves, scales, rotation
// triples, copy, cut and paste, change functions and retime.

#include "smoothstepInterpolator.h"

#include <keelanim/keelanim.h>

#ifdef KEEL_DEMO_PLOT
#include "outputFile.h"
#include "plotter.h"
#include "toolError.h"
#endif

#include <cstdio>
#include <memory>
#include <numbers>
#include <vector>

namespace {

char const* const kKindNames[] = {"key inserted", "key removed", "time/value changed", "tangent changed", "colour",
                                  "weighting",    "locks",       "breakdown"};

// Prints what a curve tells its own clients.
class TcurveWatcher : public Tclient {
public:
    explicit TcurveWatcher(char const* name) : fName(name) {}
    static void heard(Tclient* client, TclientServer* server, TserverMsg const& msg)
    {
        auto* self = static_cast<TcurveWatcher*>(client);
        auto const* curve = static_cast<TparamCurve const*>(server);
        if (auto const* modified = keelCast<TparamCurveModifiedMsg>(&msg)) {
            TkeyframeHandle const* key = modified->handle();
            std::printf("  [%s] %s at %.4f s\n", self->fName, kKindNames[modified->type()],
                        key != nullptr ? curve->doubleSeconds(key->keyframe()) : 0.0);
        } else if (auto const* addDelete = keelCast<TkeyframeAddDeleteMsg>(&msg)) {
            std::printf("  [%s] key at %.4f s %s\n", self->fName, addDelete->key()->seconds(),
                        addDelete->added() ? "came back" : "is leaving");
        }
    }

private:
    char const* fName;
};

// Prints the library-wide changed-curves messages.
class TglobalWatcher : public Tclient {
public:
    static void heard(Tclient*, TclientServer*, TserverMsg const& msg)
    {
        auto const* changed = keelCast<TparamCurveChangedMsg>(&msg);
        std::printf("  [global] %zu curve(s) changed\n", changed->curves()->size());
    }
};

template <class Array> void printKeys(char const* title, Array const& keys)
{
    std::printf("%s (%u keys)\n", title, keys.count());
    for (unsigned i = 0; i < keys.count(); ++i) {
        Tkeyframe const* key = keys.at(i);
        std::printf("  %u: %10.6f s  value %8.4f  %s\n", i, key->seconds(), key->value(),
                    key->isTickTime() ? "ticks" : "seconds");
    }
}

void showContainers()
{
    // Keys added out of order; the array sorts them and refuses a key within
    // 1e-5 s of one it holds.
    std::vector<std::unique_ptr<Tkeyframe>> owned;
    TfloatKeyframePtrArray secondsKeys(false, 8);
    for (float const t : {1.0f, 0.0f, 2.5f, 0.5f, 1.000004f}) {
        owned.push_back(std::make_unique<Tkeyframe>(t, double(t) * double(t), kTangentGlobal, kTangentLinear));
        if (secondsKeys.insert(owned.back().get()) != 0) {
            std::printf("refused a key at %.6f s: too close to an existing key\n", double(t));
        }
    }
    printKeys("seconds keys", secondsKeys);

    TanimTimeKeyframePtrArray tickKeys(false, 8);
    for (int const ticks : {6000, -6000, 12000, 0, 3000}) {
        owned.push_back(
            std::make_unique<Tkeyframe>(TanimTime::fromTicks(ticks), ticks / 6000.0, kTangentStep, kTangentStep));
        tickKeys.insert(owned.back().get());
    }
    printKeys("tick keys (6000 per second, signed order)", tickKeys);
}

void showCurves()
{
    TparamCurve seconds(true);
    TparamCurve ticks(false);
    TcurveWatcher secondsWatcher("seconds curve");
    TcurveWatcher ticksWatcher("tick curve");
    TglobalWatcher global;
    seconds.addClient(&secondsWatcher, TparamCurveModifiedMsgTmeta, &TcurveWatcher::heard, TkeyframeAddDeleteMsgTmeta,
                      &TcurveWatcher::heard);
    ticks.addClient(&ticksWatcher, TparamCurveModifiedMsgTmeta, &TcurveWatcher::heard);
    TparamCurve::addGlobalClient(&global, &TglobalWatcher::heard);

    std::printf("\nbuilding two curves inside one delayed batch:\n");
    TparamCurve::delayMessages();
    for (int frame = 0; frame <= 48; frame += 12) {
        double const value = (frame % 24 == 0) ? 0.0 : 10.0;
        seconds.add(Tkeyframe(float(frame) / 24.0f, value, kTangentSpline, kTangentSpline));
        ticks.add(Tkeyframe(TanimTime(frame, kFilm), value * 2.0, kTangentLinear, kTangentLinear));
    }
    TkeyframeHandle handle(&seconds, 2u, true);  // follows its key, not its index
    seconds.remove(0);
    seconds.setValue(1, 4.5);
    std::printf("  (the handle's key is now at index %d)\n", handle.index());
    std::printf("resuming: one changed-curves message for both curves\n");
    TparamCurve::resumeMessagesAndUpdate();

    TdebugOutput out;
    std::printf("\n");
    seconds.debugOutput(out);
    std::printf("\n");
    ticks.debugOutput(out);
    TparamCurve::removeGlobalClient(&global);
}

TparamCurve* buildMixedCurve(bool weighted)
{
    // Spans: segment (Hermite, or Bezier when weighted), linear, step,
    // step next, then segment again.
    struct Key {
        float fTime;
        double fValue;
        TtangentType fIn;
        TtangentType fOut;
        float fTanX;
        float fTanY;
    };
    Key const keys[] = {
        {0.0f, 0.0, kTangentFixed, kTangentFixed, 1.0f, 3.0f},  {1.0f, 2.0, kTangentFixed, kTangentLinear, 0.5f, 0.0f},
        {2.0f, 1.0, kTangentLinear, kTangentStep, 1.0f, 0.0f},  {3.0f, 3.0, kTangentStep, kTangentStepNext, 1.0f, 0.0f},
        {4.0f, 0.5, kTangentFixed, kTangentFixed, 1.0f, -2.0f}, {5.0f, 1.5, kTangentFixed, kTangentFixed, 1.0f, 1.0f}};
    auto* curve = new TparamCurve(true);
    curve->setCurveFlag(TparamCurve::kWeightedBit, weighted);
    for (Key const& k : keys) {
        Tkeyframe key(k.fTime, k.fValue, k.fIn, k.fOut);
        key.setTanIn(k.fTanX * (weighted ? 1.5f : 1.0f), k.fTanY);
        key.setTanOut(k.fTanX, k.fTanY);
        curve->add(key, false, true);
    }
    return curve;
}

void showEvaluation()
{
    std::unique_ptr<TparamCurve> hermite(buildMixedCurve(false));
    std::unique_ptr<TparamCurve> bezier(buildMixedCurve(true));
    std::printf("\nevaluation: spans 0-1 segment, 1-2 linear, 2-3 step, 3-4 step next, 4-5 segment\n");
    std::printf("  %7s  %12s  %12s\n", "time", "Hermite", "Bezier");
    for (int i = 0; i <= 20; ++i) {
        float const t = float(i) * 0.25f;
        std::printf("  %7.2f  %12.6f  %12.6f\n", double(t), hermite->evaluate(t), bezier->evaluate(t));
    }

    char const* const names[] = {"constant", "linear", "", "cycle", "cycle+offset", "oscillate"};
    std::printf("\ninfinities of the Hermite curve, the same type on both sides:\n");
    std::printf("  %7s", "time");
    for (int type : {0, 1, 3, 4, 5}) {
        std::printf("  %12s", names[type]);
    }
    std::printf("\n");
    for (float t : {-7.5f, -2.0f, -0.5f, 5.5f, 8.0f, 13.25f}) {
        std::printf("  %7.2f", double(t));
        for (int type : {0, 1, 3, 4, 5}) {
            auto const infinity = static_cast<TparamCurveEnums::TinfinityType>(type);
            hermite->setPreInfinityType(infinity);
            hermite->setPostInfinityType(infinity);
            std::printf("  %12.6f", hermite->evaluate(t));
        }
        std::printf("\n");
    }
}

void showTangentTypes()
{
    struct Named {
        TtangentType fType;
        char const* fName;
    };
    Named const types[] = {
        {kTangentFixed, "fixed"},        {kTangentLinear, "linear"},
        {kTangentFlat, "flat"},          {kTangentStep, "step"},
        {kTangentSlow, "slow"},          {kTangentFast, "fast"},
        {kTangentSpline, "spline"},      {kTangentClamped, "clamped"},
        {kTangentPlateau, "plateau"},    {kTangentAuto, "auto"},
        {kTangentStepNext, "step next"}, {static_cast<TtangentType>(kSmoothstepKind), "smoothstep (plug-in)"}};
    registerSmoothstepInterpolator();
    std::printf("\none curve per tangent type, keys (0, 0) (1, 1) (2, 3.02) (3, 3), values at the quarter "
                "seconds and the middle keys' out-tangents:\n");
    for (Named const& named : types) {
        TparamCurve curve(true);
        double const values[] = {0.0, 1.0, 3.02, 3.0};
        for (int i = 0; i < 4; ++i) {
            curve.add(Tkeyframe(float(i), values[i], named.fType, named.fType));
        }
        std::printf("  %-20s", named.fName);
        for (float t : {0.25f, 1.25f, 2.25f}) {
            std::printf(" %8.4f", curve.evaluate(t));
        }
        for (unsigned i = 1; i <= 2; ++i) {
            float x = 0;
            float y = 0;
            curve.keyframe(i)->getTanOut(x, y);
            std::printf("  (%.3f, %.3f)", double(x), double(y));
        }
        std::printf("\n");
    }
    Tstring commands;
    if (TprefKeyframe* keyTangent = keyTangentPreference()) {
        keyTangent->commandString(commands);
    }
    commands.appendChar('\n');
    if (TprefAnim* anim = animDisplayPreference()) {
        anim->commandString(commands);
    }
    std::printf("\npreferences as commands:\n%s\n", commands.asChar());
}

// Prints the undo records an observer of the message board hears.
class TundoWatcher : public Tclient {
public:
    static void heard(Tclient*, TclientServer*, TserverMsg const& msg)
    {
        auto const* deltaMsg = keelCast<TparamCurveDeltaMsg>(&msg);
        auto const* step = keelCast<TparamCurveDeltaComp>(deltaMsg->deltas());
        if (step == nullptr) {
            return;
        }
        std::printf("  [board] %u record(s):", step->length());
        for (unsigned i = 0; i < step->length(); ++i) {
            auto const* record = keelCast<TparamCurveDelta>(step->delta(i));
            if (record != nullptr) {
                std::printf(" %s", record->apiTypeString());
            }
        }
        std::printf("\n");
    }
};

void printValues(char const* title, TparamCurve& a, TparamCurve& b)
{
    std::printf("  %-14s a:", title);
    for (float t : {0.0f, 0.5f, 1.0f, 1.5f, 2.0f}) {
        std::printf(" %7.3f", a.evaluate(t));
    }
    std::printf("   b:");
    for (float t : {0.0f, 0.5f, 1.0f, 1.5f, 2.0f}) {
        std::printf(" %7.3f", b.evaluate(t));
    }
    std::printf("  (%u and %u keys)\n", a.keyframeCount(), b.keyframeCount());
}

void showUndo()
{
    TparamCurve a(true);
    TparamCurve b(false);
    for (int i = 0; i <= 2; ++i) {
        a.add(Tkeyframe(float(i), double(i % 2), kTangentSpline, kTangentSpline));
        b.add(Tkeyframe(TanimTime(i, kSeconds), double(i), kTangentLinear, kTangentLinear));
    }
    TundoWatcher watcher;
    TmessageCenter::messageBoardInit();
    TmessageCenter::fsMessageBoard->addClient(&watcher, TparamCurveDeltaMsgTmeta, &TundoWatcher::heard);
    TparamCurveDeltaUser::enableDeltaMessaging(true);

    std::printf("\nundo: one modification with several edits on two curves\n");
    printValues("before", a, b);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(a);
    user.beginParamCurveMod(b);
    a.insertKey(Tkeyframe(0.5f, 0.0, kTangentSpline, kTangentSpline), true);  // keeps the shape
    Tkeyframe raised(*a.keyframe(2));
    raised.setValue(3.0);
    a.replaceKey(a.keyframe(2), raised);
    a.setPostInfinityType(TparamCurveEnums::kOscillate);
    b.remove(1);
    b.add(Tkeyframe(TanimTime(1.5, kSeconds), 4.0, kTangentFlat, kTangentFlat));
    b.setIsWeighted(true);
    user.endParamCurveMod(a);
    user.endParamCurveMod(b);
    printValues("edited", a, b);
    user.undoPC();
    printValues("undone", a, b);
    user.redoPC();
    printValues("redone", a, b);
    TparamCurveDeltaUser::enableDeltaMessaging(false);
    TmessageCenter::fsMessageBoard->removeClient(&watcher);
}

void printCurve(char const* title, TparamCurve& curve)
{
    std::printf("  %-14s", title);
    for (float t : {0.0f, 0.5f, 1.0f, 1.5f, 2.0f, 2.5f}) {
        std::printf(" %7.3f", curve.evaluate(t));
    }
    std::printf("  (%u keys)\n", curve.keyframeCount());
}

// A tool that edits keys without recording asks the accountant afterwards.
void showAccountant()
{
    TparamCurve curve(true);
    for (int i = 0; i <= 2; ++i) {
        curve.add(Tkeyframe(float(i), double(i % 2), kTangentSpline, kTangentSpline));
    }
    std::printf("\naccountant: records for edits made without a modification\n");
    printCurve("before", curve);
    TkeyframeAccountant accountant;
    accountant.addCurve(curve);
    curve.setValue(0, 2.0);
    curve.remove(2);
    curve.add(Tkeyframe(2.5f, -1.0, kTangentFlat, kTangentFlat));
    printCurve("edited", curve);
    accountant.audit();
    TparamCurveDeltaComp step;
    accountant.done(0, step);
    std::printf("  audit found %u change(s), handed out as %u record(s)\n", accountant.numChanges(0), step.length());
    step.undo();
    printCurve("undone", curve);
    step.redo();
    printCurve("redone", curve);
}

char const* partsOf(TpickKey const& pick)
{
    bool const in = pick.flags().isSet(kPickInTangentBit);
    bool const out = pick.flags().isSet(kPickOutTangentBit);
    if (pick.flags().isSet(kPickKeyBit)) {
        return "key";
    }
    return in && out ? "both tangents" : (in ? "in-tangent" : (out ? "out-tangent" : "nothing"));
}

// An editor picks keys and tangents, combines two selections, and drags a
// tangent of a picked key whose tangents are locked; one undo puts it back.
void showSelectionAndTangents()
{
    TparamCurve curve(true);
    curve.setIsWeighted(false);
    for (int i = 0; i <= 3; ++i) {
        curve.add(Tkeyframe(float(i), double(i % 2), kTangentSpline, kTangentSpline));
    }
    std::printf("\nselection and tangent editing\n");
    auto pickInto = [&curve](TpickKeyList& list, std::initializer_list<std::pair<unsigned, std::uint32_t>> parts) {
        for (auto const& [index, mask] : parts) {
            TpickKey pick;
            pick.create(&curve, index, TbitField32(mask), true, false);
            list.insert(curve.timeValue(index), pick);
        }
    };
    TpickKeyList keys;
    TpickKeyList tangents;
    pickInto(keys, {{0, kPickKeyMask}, {2, kPickKeyMask}});
    pickInto(tangents, {{1, kPickOutTangentMask}, {2, kPickInTangentMask}});
    keys.merge(tangents);
    for (TpickKeyDictionaryNode* node = keys.first(); node != nullptr; node = node->next()) {
        std::printf("  picked at %.1f s: %s\n", node->key().seconds(), partsOf(node->pick()));
    }
    float inX = 0, inY = 0, outX = 0, outY = 0;
    auto printKey = [&](char const* title) {
        curve.keyframe(1)->getTanIn(inX, inY);
        curve.keyframe(1)->getTanOut(outX, outY);
        std::printf("  %-30s in (%6.3f, %6.3f)  out (%6.3f, %6.3f)  value at 1.25 s %6.3f\n", title, inX, inY, outX,
                    outY, curve.evaluate(1.25f));
    };
    printKey("key at 1 s, tangents locked:");
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(curve);
    curve.adjustTangents(keys, 1.0f, 2.0f, 1.0f, 1.0f);  // the picked out-tangent at 1 s, its in-tangent follows
    user.endParamCurveMod(curve);
    printKey("dragged to (1, 2):");
    user.undoPC();
    printKey("undone:");
}

// Keys as "time:value" pairs, a line each.
void printKeyTimes(char const* title, TparamCurve const& curve)
{
    std::printf("  %-34s", title);
    for (unsigned i = 0; i < curve.keyframeCount(); ++i) {
        std::printf(" %s%.3g:%.3g", curve.breakdown(i) ? "b" : "", curve.timeValue(i).seconds(), curve.value(i));
    }
    std::printf("\n");
}

// An edit in one modification, shown, undone and redone.
template <class Edit> void editUndoRedo(char const* title, TparamCurve& curve, Edit&& edit)
{
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(curve);
    bool const done = edit();
    user.endParamCurveMod(curve);
    std::printf("  %s: %s, %u undo record(s)\n", title, done ? "done" : "refused", user.step().length());
    printKeyTimes("edited:", curve);
    user.undoPC();
    printKeyTimes("undone:", curve);
    user.redoPC();
    printKeyTimes("redone:", curve);
}

// Three picked keys dragged past a neighbour, a key with a breakdown between
// its neighbours, and a region scaled about a pivot.
void showMovingAndScaling()
{
    std::printf("\nmoving and scaling keys\n");
    auto makeCurve = [] {
        auto curve = std::make_unique<TparamCurve>(true);
        for (int i = 0; i <= 5; ++i) {
            curve->add(Tkeyframe(float(i), double(i % 3), kTangentSpline, kTangentSpline));
        }
        return curve;
    };
    for (auto option : {TparamCurveEnums::kMoveBetweenNeighbours, TparamCurveEnums::TmoveOption(5)}) {
        auto curve = makeCurve();
        std::printf(" move keys 1, 2 and 3 by +1.5 s under option %d\n", int(option));
        printKeyTimes("before:", *curve);
        TpickKeyDictionary picks;
        for (unsigned i : {1u, 2u, 3u}) {
            TpickKey pick;
            pick.create(curve.get(), i, TbitField32(kPickKeyMask), true, false);
            picks.insert(curve->timeValue(i), pick);
        }
        TtimeValue const offset(1.5f);
        std::printf("  canMove: %s\n", curve->canMove(picks, offset, 0.0, true, option, true) ? "yes" : "no");
        if (!curve->canMove(picks, offset, 0.0, true, option, true)) {
            continue;
        }
        editUndoRedo("moved", *curve, [&] {
            TkeyframeHandlePtrArray handles;
            TtimeValueArray newTimes, oldTimes;
            TdoubleArray newValues, oldValues;
            for (TpickKeyDictionaryNode* node = picks.first(); node != nullptr; node = node->next()) {
                handles.addLast(node->pick().handle());
                newTimes.addLast(node->pick().handle()->timeValue() + offset);
            }
            curve->beginMoveKeys(picks);
            bool const moved = curve->moveKeys(handles, newTimes, oldTimes, newValues, oldValues, option, true);
            curve->endMoveKeys();
            return moved;
        });
    }
    auto curve = std::make_unique<TparamCurve>(true);
    for (float t : {0.0f, 1.0f, 2.0f, 4.0f}) {
        curve->add(Tkeyframe(t, double(t), kTangentSpline, kTangentSpline));
    }
    curve->setBreakdown(2, true);
    std::printf(" move the key at 4 s to 6 s; the breakdown at 2 s keeps its proportion between its neighbours\n");
    printKeyTimes("before:", *curve);
    editUndoRedo("moved", *curve, [&] {
        TkeyframeHandle key(curve.get(), 3u, true);
        TkeyframeHandlePtrArray handles;
        handles.addLast(&key);
        TtimeValueArray newTimes, oldTimes;
        TdoubleArray newValues, oldValues;
        newTimes.addLast(TtimeValue(6.0f));
        curve->beginMoveKeys(handles);
        bool const moved = curve->moveKeys(handles, newTimes, oldTimes, newValues, oldValues,
                                           TparamCurveEnums::kMoveBetweenNeighbours, true);
        curve->endMoveKeys();
        return moved;
    });
    auto region = makeCurve();
    std::printf(" scale the region [1 s, 3 s] to [1 s, 5 s] about 1 s; later keys keep clear\n");
    printKeyTimes("before:", *region);
    editUndoRedo("scaled", *region, [&] {
        return region->scaleRegion(TtimeValue(1.0f), TtimeValue(3.0f), TtimeValue(1.0f), TtimeValue(5.0f),
                                   TtimeValue(1.0f));
    });
}

// A range copied with its ends, cuts that leave or close the gap, and the
// clipboard pasted in each mode.
void showClipboard()
{
    std::printf("\ncopy, cut and paste\n");
    auto makeCurve = [] {
        auto curve = std::make_unique<TparamCurve>(true);
        for (int i = 0; i <= 5; ++i) {
            curve->add(Tkeyframe(float(i), double(i * i % 7), kTangentSpline, kTangentSpline));
        }
        return curve;
    };
    auto source = makeCurve();
    printKeyTimes("curve:", *source);
    TclipboardCurves clipboard;
    clipboard.copyRange(*source, TtimeValue(1.5f), TtimeValue(3.5f), TparamCurve::kCopyWithRangeEnds);
    printKeyTimes("copy [1.5 s, 3.5 s] with its ends:", *clipboard.curve(0));
    struct {
        TparamCurve::TcutOption fOption;
        char const* fName;
    } const cuts[] = {{TparamCurve::kCutKeys, "cut [1.5 s, 3.5 s], option 0:"},
                      {TparamCurve::kCutAndJoin, "option 2 (closed, joined):"},
                      {TparamCurve::kCutRangeAndJoin, "option 5 (ends keyed, joined):"}};
    for (auto const& cut : cuts) {
        auto curve = makeCurve();
        TclipboardCurves taken;
        taken.cutRange(*curve, TtimeValue(1.5f), TtimeValue(3.5f), cut.fOption);
        printKeyTimes(cut.fName, *curve);
    }
    struct {
        TparamCurve::TpasteOption fOption;
        float fEnd;
        unsigned fRepetitions;
        char const* fName;
    } const pastes[] = {{TparamCurve::kPasteInsert, 4.0f, 1, "paste at 4 s, insert:"},
                        {TparamCurve::kPasteReplace, 4.0f, 1, "replace:"},
                        {TparamCurve::kPasteMerge, 4.0f, 3, "merge three times:"},
                        {TparamCurve::kPasteScaleMerge, 5.0f, 1, "scale onto [4 s, 5 s], merge:"},
                        {TparamCurve::kPasteFitReplace, 8.0f, 1, "fit onto [4 s, 8 s], replace:"}};
    for (auto const& paste : pastes) {
        auto curve = makeCurve();
        TpasteSettings settings;
        settings.fRepetitions = paste.fRepetitions;
        clipboard.pasteOnto(*curve, TtimeValue(4.0f), TtimeValue(paste.fEnd), paste.fOption, settings);
        printKeyTimes(paste.fName, *curve);
    }
    auto curve = makeCurve();
    editUndoRedo("cut with option 5 in a modification", *curve, [&] {
        return curve->cutKeysInRange(TtimeValue(1.5f), TtimeValue(3.5f), TparamCurve::kCutRangeAndJoin, nullptr) > 0;
    });
}

// A soft-selection drag over ten keys (linear and quadratic falloff), a
// lattice deforming a block of keys and the lattice step undone, and a
// retime that doubles one region and ripples the rest.
void showChangeFunctionsAndRetime()
{
    std::printf("\nchange functions and retime\n");
    auto tenKeys = [] {
        auto curve = std::make_unique<TparamCurve>(true);
        for (int i = 0; i < 10; ++i) {
            curve->add(Tkeyframe(float(i), 0.0, kTangentAuto, kTangentAuto));
        }
        return curve;
    };
    for (auto type : {TfalloffFn::kLinearFalloff, TfalloffFn::kQuadraticFalloff}) {
        auto curve = tenKeys();
        TpickKeyDictionary picks;
        TfalloffFn falloff;
        falloff.setValueChange(1.0);
        falloff.setFalloffType(type);
        for (unsigned i = 0; i < 10; ++i) {
            TpickKey pick;
            pick.create(curve.get(), i, TbitField32(kPickKeyMask), false, true);
            picks.insert(curve->timeValue(i), pick);
            falloff.addKeyframeDist(curve->keyframe(i), std::fabs(double(i) - 3.0));  // grabbed at 3 s
        }
        curve->beginMoveKeys(picks);
        curve->moveKeys(picks, falloff, TparamCurveEnums::kMoveBetweenNeighbours, false);
        curve->endMoveKeys();
        printKeyTimes(type == TfalloffFn::kLinearFalloff ? "drag at 3 s by 1, linear falloff:" : "quadratic falloff:",
                      *curve);
    }

    auto curve = tenKeys();
    auto* lattice = new TsharedLatticeObject();
    lattice->ref();
    lattice->setSDivisions(3);
    lattice->setTDivisions(3);
    lattice->setBoundingRect(TdblRect{2.0, -1.0, 6.0, 1.0});
    TlatticeFn deform;
    deform.setLatticeParams(lattice);
    TkeyframeHandlePtrArray handles;
    for (unsigned i = 2; i <= 6; ++i) {
        handles.addLast(new TkeyframeHandle(curve.get(), i, false));
        deform.addOrigValue(curve->keyframe(i), curve->seconds(i), curve->value(i), 1.0);
    }
    lattice->setLatticePair(1, 1, 0.5, 1.0);  // the middle point, raised to the top edge
    deform.setLatticeDirty();
    std::printf(" a 3 x 3 lattice over [2 s, 6 s] x [-1, 1], its middle point raised to the top\n");
    TtimeValueArray oldTimes;
    editUndoRedo("lattice", *curve, [&] {
        curve->beginMoveKeys(handles);
        bool const moved = curve->moveKeys(handles, oldTimes, deform, TparamCurveEnums::kMoveBetweenNeighbours, false);
        curve->endMoveKeys();
        return moved;
    });
    deform.undo();
    std::printf("  the lattice step undone: the middle point back at %.2f\n", lattice->latticePoints()[4].fY);
    for (TkeyframeHandle* handle : handles) {
        delete handle;
    }
    lattice->unref();

    auto retimed = std::make_unique<TparamCurve>(false);
    for (int i = 0; i <= 5; ++i) {
        retimed->add(Tkeyframe(TanimTime::fromTicks(6000 * i), double(i % 3), kTangentFixed, kTangentFixed));
    }
    TpickKeyList region;
    TpickKeyList ripple;
    TpickKeyList const none;
    for (unsigned i = 1; i <= 5; ++i) {
        TpickKey pick;
        pick.create(retimed.get(), i, TbitField32(kPickKeyMask), false, true);
        (i <= 2 ? region : ripple).insert(retimed->timeValue(i), pick);
    }
    std::printf(" retime: [1 s, 2 s] doubled about 1 s, the keys after it rippled by 1 s\n");
    editUndoRedo("retimed", *retimed, [&] {
        return retimed->retimeRegions(region, none, ripple, 2.0f, 1.0f, 1.0f, TtimeValue(TanimTime::fromTicks(6000)),
                                      TtimeValue());
    });
}

// One rotation keyed as Euler angles, evaluated angle by angle and as a
// quaternion in each mode. The span from 1 s to 2 s turns 200 degrees about
// Z: angle by angle it goes the long way, on the sphere the short way.
void showRotation()
{
    std::printf("\nrotation: Euler angles (degrees) angle by angle and as quaternions\n");
    struct Tkey {
        float fTime;
        double fX, fY, fZ;
    };
    Tkey const keys[] = {{0.0f, 0.0, 0.0, 0.0}, {1.0f, 30.0, 0.0, 20.0}, {2.0f, 30.0, 10.0, 220.0}};
    double const toRadians = std::numbers::pi / 180.0;
    TparamCurve eulerCurves[3];
    for (Tkey const& key : keys) {
        double const angles[3] = {key.fX, key.fY, key.fZ};
        for (int axis = 0; axis < 3; ++axis) {
            eulerCurves[axis].add(Tkeyframe(key.fTime, angles[axis] * toRadians, kTangentSpline, kTangentSpline));
        }
    }
    auto const modes = {TparamCurveEnums::kQuaternionTangentDependent, TparamCurveEnums::kQuaternionSlerp,
                        TparamCurveEnums::kQuaternionCubic};
    std::vector<std::unique_ptr<TparamCurve>> curves;
    std::vector<std::unique_ptr<TrotationTriple>> triples;
    for (auto mode : modes) {
        for (int axis = 0; axis < 3; ++axis) {
            curves.push_back(std::make_unique<TparamCurve>(true));
        }
        auto triple = std::make_unique<TrotationTriple>(*curves[curves.size() - 3], *curves[curves.size() - 2],
                                                        *curves[curves.size() - 1]);
        for (Tkey const& key : keys) {
            triple->setKey(TtimeValue(key.fTime),
                           TrotateXYZ{key.fX * toRadians, key.fY * toRadians, key.fZ * toRadians}, kTangentSpline,
                           kTangentSpline);
        }
        triple->setRotationInterpolation(mode);
        triples.push_back(std::move(triple));
    }
    std::printf("  %5s  %-22s %-22s %-22s %-22s\n", "time", "angle by angle", "quaternion, mode 3",
                "quaternion, mode 4", "quaternion, mode 5");
    auto print = [&](TparamCurve* x, TparamCurve* y, TparamCurve* z, float t) {
        std::printf(" %6.1f %6.1f %6.1f   ", x->evaluate(t) / toRadians, y->evaluate(t) / toRadians,
                    z->evaluate(t) / toRadians);
    };
    for (float t = 0.0f; t <= 2.01f; t += 0.25f) {
        std::printf("  %5.2f ", t);
        print(&eulerCurves[0], &eulerCurves[1], &eulerCurves[2], t);
        for (auto const& triple : triples) {
            print(triple->channel(0), triple->channel(1), triple->channel(2), t);
        }
        std::printf("\n");
    }
}

#ifdef KEEL_DEMO_PLOT
// One curve per span kind, each with its own infinity type on both sides
// (the five types in turn), stacked apart so that each stays readable. The
// ease kinds are chosen by tangent types 11 to 14 (see T2dAnimCurve).
TcurveSet spanKindCurves()
{
    struct Kind {
        char const* fName;
        TtangentType fType;
        bool fWeighted;
    };
    Kind const kinds[] = {{"hermite", kTangentFixed, false},      {"bezier", kTangentFixed, true},
                          {"linear", kTangentLinear, false},      {"step", kTangentStep, false},
                          {"step next", kTangentStepNext, false}, {"sine", kTangentHermite, false},
                          {"parabolic", kTangentBezier, false},   {"log", kTangentParabolic, false}};
    TparamCurveEnums::TinfinityType const infinities[] = {TparamCurveEnums::kConstant, TparamCurveEnums::kLinear,
                                                          TparamCurveEnums::kCycle, TparamCurveEnums::kCycleRelative,
                                                          TparamCurveEnums::kOscillate};
    char const* const infinityNames[] = {"constant", "linear", "cycle", "cycle+offset", "oscillate"};
    TcurveSet curves;
    int row = 0;
    for (Kind const& kind : kinds) {
        int const infinity = row % 5;
        double const base = 2.0 * (std::size(kinds) - 1 - row);
        auto curve = std::make_unique<TparamCurve>(true);
        curve->setCurveFlag(TparamCurve::kWeightedBit, kind.fWeighted);
        double const values[] = {0.2, 1.4, 0.6, 1.0};
        for (int i = 0; i < 4; ++i) {
            Tkeyframe key(float(i), base + values[i], kind.fType, kind.fType);
            key.setTanIn(kind.fWeighted ? 0.6f : 1.0f, i == 1 ? 0.0f : 1.5f);
            key.setTanOut(kind.fWeighted ? 1.2f : 1.0f, i == 1 ? 0.0f : 1.5f);
            curve->add(key, false, kind.fType == kTangentFixed);
        }
        curve->setPreInfinityType(infinities[infinity]);
        curve->setPostInfinityType(infinities[infinity]);
        curves.push_back(
            TnamedCurve{std::string(kind.fName) + " / " + infinityNames[infinity], std::nullopt, std::move(curve)});
        ++row;
    }
    return curves;
}

void writeSpanKindPlot(char const* path)
{
    TplotOptions options;
    options.fHasRange = true;
    options.fFrom = -3.0;
    options.fTo = 6.0;
    options.fHeight = 720;
    try {
        TpendingOutput output(path);
        drawPlot(spanKindCurves(), options, plotFormatOf(path), output.tempPath(), path);
        releasePlotCaches();
        output.commit();
        std::printf("\nplot of one curve per span kind and infinity type: %s\n", path);
    } catch (TtoolFailure const& failure) {
        std::printf("\nno plot: %s\n", failure.what());
    }
}
#endif

}  // namespace

int main(int argc, char** argv)
{
    std::printf("Keelanim %s\n\n", relmarkVersion());
    showContainers();
    showCurves();
    showEvaluation();
    showTangentTypes();
    showUndo();
    showAccountant();
    showSelectionAndTangents();
    showMovingAndScaling();
    showRotation();
    showClipboard();
    showChangeFunctionsAndRetime();
#ifdef KEEL_DEMO_PLOT
    writeSpanKindPlot(argc > 1 ? argv[1] : "keel_demo_curves.svg");
#else
    static_cast<void>(argc);
    static_cast<void>(argv);
#endif
    return 0;
}
