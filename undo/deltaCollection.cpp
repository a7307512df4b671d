#include "keelanim/undo/deltaCollection.h"

#include "curve/detail/editKit.h"
#include "keelanim/base/messageCenter.h"
#include "keelanim/curve/paramCurve.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>
#include <vector>

KEEL_DEFINE_CONSTRUCTIBLE_METACLASS(TparamCurveDeltaComp, &TdeltaCompositeTmeta);
KEEL_DEFINE_METACLASS(TparamCurveDeltaMsg, &TserverMsgTmeta);

namespace {

constexpr double kDragValueTolerance = 1e-10;
constexpr unsigned kGroupCapacity = 8;

// Releases borrowed records before a temporary composite is destroyed.
class TborrowedStep {
public:
    TborrowedStep() = default;
    TborrowedStep(TborrowedStep const&) = delete;
    TborrowedStep& operator=(TborrowedStep const&) = delete;
    ~TborrowedStep() { fStep.reset(); }
    TparamCurveDeltaComp& operator*() { return fStep; }
    TparamCurveDeltaComp* operator->() { return &fStep; }

private:
    TparamCurveDeltaComp fStep;
};

}  // namespace

bool TparamCurveDeltaUser::fDeltaMessagingEnabled = false;

// --- TparamCurveDeltaComp ------------------------------------------------------------------

void TparamCurveDeltaComp::reset()
{
    fChildren.changeLogicalSizeTo(0);
}

void TparamCurveDeltaComp::addLast(TparamCurveDeltaComp* composite)
{
    if (composite == nullptr) {
        return;
    }
    for (unsigned i = 0; i < composite->length(); ++i) {
        if (auto* record = keelCast<TparamCurveDelta>(composite->delta(i))) {
            fChildren.addLast(record);
        }
    }
}

void TparamCurveDeltaComp::addLast(Tdelta* delta)
{
    if (auto* composite = keelCast<TparamCurveDeltaComp>(delta)) {
        addLast(composite);
    } else if (keelCast<TparamCurveDelta>(delta) != nullptr) {
        fChildren.addLast(delta);
    } else {
        TdeltaComposite::merge(delta);
    }
}

void TparamCurveDeltaComp::setIsUndone(bool undone)
{
    for (Tdelta* delta : fChildren) {
        if (auto* record = keelCast<TparamCurveDelta>(delta)) {
            record->setIsUndone(undone);
        }
    }
}

// A step replays whole or not at all: every curve it touches is asked first,
// with each record's replay mask, as edits on several channels are.
void TparamCurveDeltaComp::forgetDeletedCurves()
{
    for (Tdelta* delta : fChildren) {
        auto* record = keelCast<TparamCurveDelta>(delta);
        if (record != nullptr && record->curveGone()) {
            record->invalidateParamCurve();
        }
    }
}

bool TparamCurveDeltaComp::curvesAccept() const
{
    // Steps mostly hold records of one curve: each curve is asked once, with
    // the masks of all its records.
    std::vector<std::pair<TparamCurve*, unsigned>> asks;
    for (Tdelta* delta : fChildren) {
        auto* record = keelCast<TparamCurveDelta>(delta);
        if (record == nullptr || record->inert()) {
            continue;
        }
        auto same = [record](auto const& ask) { return ask.first == record->paramCurve(); };
        auto const found = std::find_if(asks.begin(), asks.end(), same);
        if (found != asks.end()) {
            found->second |= record->replayMask();
        } else {
            asks.emplace_back(record->paramCurve(), record->replayMask());
        }
    }
    return std::all_of(asks.begin(), asks.end(),
                       [](auto const& ask) { return TchangeScope(*ask.first, ask.second).open(); });
}

bool TparamCurveDeltaComp::undo()
{
    forgetDeletedCurves();
    if (!curvesAccept()) {
        return false;
    }
    TparamCurve::TreplayScope const replaying;
    for (Tdelta* delta : fChildren) {
        if (auto* record = keelCast<TparamCurveDelta>(delta)) {
            record->preUndo();
        }
    }
    bool const done = TdeltaComposite::undo();
    setIsUndone(true);
    setUndone(true);
    return done;
}

bool TparamCurveDeltaComp::redo()
{
    forgetDeletedCurves();
    if (!curvesAccept()) {
        return false;
    }
    TparamCurve::TreplayScope const replaying;
    bool const done = TdeltaComposite::redo();
    setIsUndone(false);
    setUndone(false);
    return done;
}

bool TparamCurveDeltaComp::merge(Tdelta* delta)
{
    if (auto* composite = keelCast<TparamCurveDeltaComp>(delta)) {
        if (merge(composite)) {
            return true;
        }
    } else if (auto* record = keelCast<TparamCurveDelta>(delta)) {
        if (merge(record)) {
            return true;
        }
    }
    return TdeltaComposite::merge(delta);
}

bool TparamCurveDeltaComp::merge(TparamCurveDelta* delta)
{
    if (delta == nullptr) {
        return true;
    }
    auto* drag = keelCast<TPCDdragKey>(delta);
    if (!fFlag || drag == nullptr || fChildren.empty()) {
        return false;
    }
    for (unsigned i = 0; i < fChildren.count(); ++i) {
        auto* earlier = keelCast<TPCDdragKey>(fChildren[i]);
        if (earlier == nullptr || earlier == drag || earlier->paramCurve() != drag->paramCurve() ||
            !(earlier->currentTime() == drag->previousTime()) ||
            std::fabs(earlier->currentValue() - drag->previousValue()) > kDragValueTolerance) {
            continue;
        }
        drag->setPrevious(earlier->previousTime(), earlier->previousValue(), earlier->previousW());
        drag->takeRederivedTangents(*earlier);
        fChildren.removeAt(i, 1);
        delete earlier;
        fChildren.addLast(drag);
        return true;
    }
    return false;
}

bool TparamCurveDeltaComp::merge(TparamCurveDeltaComp* composite)
{
    if (composite == nullptr || composite == this) {
        return true;
    }
    for (unsigned i = 0; i < composite->length(); ++i) {
        auto* record = keelCast<TparamCurveDelta>(composite->delta(i));
        if (record != nullptr && !merge(record)) {
            fChildren.addLast(record);
        }
    }
    return true;
}

// --- TparamCurveDeltaUser ----------------------------------------------------------------------

TparamCurveDeltaUser::~TparamCurveDeltaUser() = default;

void TparamCurveDeltaUser::beginParamCurveMod(TparamCurve& curve)
{
    curve.beginMod();
}

bool TparamCurveDeltaUser::endParamCurveMod(TparamCurve& curve)
{
    Tdelta* delta = curve.endMod();
    if (delta == nullptr) {
        return false;
    }
    fStep.addLast(delta);
    if (fPost) {
        TborrowedStep posted;
        posted->addLast(delta);
        postAllMessages(*posted, false);
    }
    if (auto* composite = keelCast<TparamCurveDeltaComp>(delta)) {
        composite->reset();  // its records live in the step now
        delete composite;
    }
    return true;
}

void TparamCurveDeltaUser::undoPC()
{
    fStep.undo();
    if (fPost) {
        postAllMessages(fStep, true);
    }
}

void TparamCurveDeltaUser::redoPC()
{
    fStep.redo();
    if (fPost) {
        postAllMessages(fStep, false);
    }
}

void TparamCurveDeltaUser::postMessage(Tdelta& deltas)
{
    if (TmessageCenter::fsMessageBoard == nullptr) {
        TmessageCenter::messageBoardInit();
    }
    TmessageCenter::fsMessageBoard->notifyClients(TparamCurveDeltaMsg(deltas));
}

void TparamCurveDeltaUser::postMessage(TparamCurve& curve, Tdelta& deltas)
{
    curve.notifyClients(TparamCurveDeltaMsg(deltas));
}

void TparamCurveDeltaUser::postAllMessages(TparamCurveDeltaComp& step, bool undoing)
{
    if (!fDeltaMessagingEnabled) {
        return;
    }
    if (undoing) {
        TborrowedStep reversed;
        for (unsigned i = step.length(); i-- > 0;) {
            reversed->addLast(step.delta(i));
        }
        if (reversed->length() > 0) {
            postMessage(*reversed);
        }
    } else if (step.length() > 0) {
        postMessage(step);
    }
    TparamCurveTableIndex index;
    TdeltaPtrArrayArray groups;
    parseDeltas(step, index, groups, undoing);
    for (TdeltaPtrArray const& group : groups) {
        TborrowedStep perCurve;
        for (Tdelta* delta : group) {
            perCurve->addLast(delta);
        }
        auto* first = keelCast<TparamCurveDelta>(group.at(0));
        if (first != nullptr && first->paramCurve() != nullptr) {
            postMessage(*first->paramCurve(), *perCurve);
        }
    }
}

void TparamCurveDeltaUser::parseDeltas(TparamCurveDeltaComp& composite, TparamCurveTableIndex& index,
                                       TdeltaPtrArrayArray& groups, bool undoing)
{
    unsigned const count = composite.length();
    for (unsigned n = 0; n < count; ++n) {
        Tdelta* delta = composite.delta(undoing ? count - 1 - n : n);
        if (delta == nullptr) {
            continue;
        }
        auto* record = keelCast<TparamCurveDelta>(delta);
        if (record == nullptr) {
            if (auto* nested = keelCast<TparamCurveDeltaComp>(delta)) {
                parseDeltas(*nested, index, groups, undoing);
            }
            continue;
        }
        if (record->paramCurve() == nullptr) {
            continue;
        }
        unsigned group = 0;
        if (!index.find(record->paramCurve(), group)) {
            group = groups.count();
            groups.addLast(TdeltaPtrArray(kGroupCapacity));
            index.insert(record->paramCurve(), group);
        }
        groups[group].addLast(delta);
    }
}

// --- TparamCurveDeltaList --------------------------------------------------------------------------

TparamCurveDeltaList::~TparamCurveDeltaList()
{
    reset();
}

void TparamCurveDeltaList::reset()
{
    delete fDeltas;
    fDeltas = nullptr;
}

void TparamCurveDeltaList::append(Tdelta* copy)
{
    if (fDeltas == nullptr) {
        fDeltas = new TparamCurveDeltaComp();
    }
    fDeltas->addLast(copy);
}

void TparamCurveDeltaList::add(Tdelta* delta)
{
    if (auto* composite = keelCast<TparamCurveDeltaComp>(delta)) {
        add(composite);
    } else if (auto* record = keelCast<TparamCurveDelta>(delta)) {
        add(record);
    }
}

void TparamCurveDeltaList::add(TparamCurveDeltaComp* composite)
{
    if (composite == nullptr) {
        return;
    }
    for (unsigned i = 0; i < composite->length(); ++i) {
        add(composite->delta(i));
    }
}

void TparamCurveDeltaList::add(TparamCurveDelta* delta)
{
    // The order of the tests matters: an insert-key record is an add/remove
    // record and is copied as one, without its neighbour snapshots.
    if (auto* addRemove = keelCast<TPCDaddRemoveKey>(delta)) {
        append(new TPCDaddRemoveKey(*addRemove, true));
    } else if (auto* block = keelCast<TPCDblockAddRemoveKey>(delta)) {
        append(new TPCDblockAddRemoveKey(*block));
    } else if (auto* drag = keelCast<TPCDdragKey>(delta)) {
        append(new TPCDdragKey(*drag));
    } else if (auto* segment = keelCast<TPCDdragSegment>(delta)) {
        convertPCDDragSegment(segment);
    } else if (auto* tangent = keelCast<TPCDdragTan>(delta)) {
        append(new TPCDdragTan(*tangent));
    } else if (auto* scale = keelCast<TPCDscaleKey>(delta)) {
        append(new TPCDscaleKey(*scale));
    } else if (auto* breakdown = keelCast<TPCDbreakdown>(delta)) {
        append(new TPCDbreakdown(*breakdown));
    } else if (auto* weighted = keelCast<TPCDweightedTangents>(delta)) {
        append(new TPCDweightedTangents(*weighted));
    } else if (auto* infinity = keelCast<TPCDinfinityType>(delta)) {
        append(new TPCDinfinityType(*infinity));
    }
}

void TparamCurveDeltaList::convertPCDDragSegment(TPCDdragSegment* segment)
{
    if (segment == nullptr) {
        return;
    }
    TtimeValue timeChange;
    double valueChange = 0.0;
    segment->timeChange(timeChange);
    segment->valueChange(valueChange);
    TkeyframeHandlePtrArray const& handles = segment->keyHandles();
    for (unsigned i = 0; i < handles.count(); ++i) {
        TkeyframeHandle* handle = handles[i];
        if (handle == nullptr) {
            continue;
        }
        TtimeValue const now = handle->timeValue();
        double const value = handle->value();
        TkeyframeHandle fresh(*handle, false);
        append(new TPCDdragKey(&fresh, segment->prevIndices().at(i), now - timeChange, value - valueChange, 0.0, now,
                               value, 0.0, segment->moveOption(), segment->paramCurve()));
    }
}
