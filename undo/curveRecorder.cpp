// The undo subsystem's answer to what curve edits report: it makes their
// records and gathers them into a modification's pending step. Installed
// when the library loads.

#include "curve/detail/editRecorder.h"
#include "keelanim/curve/paramCurve.h"
#include "keelanim/undo/deltaCollection.h"
#include "keelanim/undo/editDeltas.h"

namespace {

// Ownership of a record offered to a pending step has passed whatever
// happened to it: a curve composite gave its records away and goes; a
// record that was absorbed rather than stored goes too.
void disposeIfNotHeld(TparamCurveDeltaComp& holder, Tdelta* delta)
{
    if (auto* composite = keelCast<TparamCurveDeltaComp>(delta)) {
        composite->reset();
        delete composite;
        return;
    }
    for (unsigned i = holder.length(); i-- > 0;) {
        if (holder.delta(i) == delta) {
            return;
        }
    }
    delete delta;
}

// Appends (`append`) or merges a record into a step, then disposes of it
// unless the step keeps it.
void offer(TparamCurveDeltaComp& step, Tdelta* delta, bool append)
{
    append ? step.addLast(delta) : static_cast<void>(step.merge(delta));
    disposeIfNotHeld(step, delta);
}

class TcurveDeltaRecorder final : public TcurveEditRecorder {
public:
    Tdelta* keyAdded(TparamCurve& curve, Tkeyframe* key) override
    {
        return new TPCDaddRemoveKey(&curve, key, TPCDaddRemoveKey::kAdded);
    }
    Tdelta* keyRemoved(TparamCurve& curve, Tkeyframe* key) override
    {
        return new TPCDaddRemoveKey(&curve, key, TPCDaddRemoveKey::kRemoved);
    }
    Tdelta* keyReplaced(TparamCurve& curve, Tkeyframe* onCurve, Tkeyframe const& former) override
    {
        return new TPCDaddRemoveKey(&curve, onCurve, former);
    }
    Tdelta* keyInserted(TparamCurve& curve, Tkeyframe* key, Tkeyframe const* previousAsWas,
                        Tkeyframe const* nextAsWas) override
    {
        return new TPCDinsertKey(&curve, key, previousAsWas, nextAsWas);
    }
    Tdelta* blockAdded(TparamCurve& curve, Tkeyframe* const* keys, unsigned count, TtangentType in,
                       TtangentType out) override
    {
        return new TPCDblockAddRemoveKey(&curve, keys, count, in, out);
    }
    Tdelta* breakdownChanged(TparamCurve& curve, unsigned index, bool wasBreakdown) override
    {
        return new TPCDbreakdown(&curve, index, wasBreakdown);
    }
    Tdelta* infinityChanged(TparamCurve& curve, bool pre, TparamCurveEnums::TinfinityType previous,
                            TparamCurveEnums::TinfinityType current) override
    {
        return new TPCDinfinityType(&curve, pre, previous, current);
    }
    Tdelta* weightingChanged(TparamCurve& curve, bool wasWeighted) override
    {
        return new TPCDweightedTangents(&curve, wasWeighted);
    }
    Tdelta* tangentDragged(TparamCurve& curve, unsigned index, bool in, Tkeyframe const& before,
                           Tkeyframe const& after) override
    {
        TtangentType const previousType = in ? before.tanInType() : before.tanOutType();
        float previousX = 0.0f;
        float previousY = 0.0f;
        float currentX = 0.0f;
        float currentY = 0.0f;
        in ? before.getTanIn(previousX, previousY) : before.getTanOut(previousX, previousY);
        in ? after.getTanIn(currentX, currentY) : after.getTanOut(currentX, currentY);
        auto* record = new TPCDdragTan(previousX, previousY, static_cast<unsigned char>(previousType), currentX,
                                       currentY, kTangentFixed, in, &curve, index);
        // The accessors tell the host both types of the side, not only the
        // fixed type a drag leaves.
        record->setPreviousType(previousType);
        record->setCurrentType(in ? after.tanInType() : after.tanOutType());
        record->keepWholeKey(before, after);
        return record;
    }
    Tdelta* curveSnapshot(TparamCurve& curve) override { return new TPCDcurveDelta(&curve); }
    Tdelta* rotationInterpolationChanged(TparamCurve& curve, TparamCurveEnums::TrotationInterpolation previous,
                                         TparamCurveEnums::TrotationInterpolation current) override
    {
        return new TPCDrotationInterpolation(&curve, previous, current);
    }
    Tdelta* keyMoved(TparamCurve& curve, Tkeyframe* key, unsigned previousIndex, TtimeValue const& previousTime,
                     double previousValue, double previousSecond, TparamCurveEnums::TmoveOption option) override
    {
        TkeyframeHandle handle(&curve, key, false);
        return new TPCDdragKey(&handle, previousIndex, previousTime, previousValue, previousSecond,
                               curve.timeValue(key), key->value(), key->quatComponent(), option, &curve);
    }
    Tdelta* regionScaled(TparamCurve& curve, TtimeValue const& start, TtimeValue const& end, TtimeValue const& newStart,
                         TtimeValue const& newEnd, TtimeValue const& pivot, std::vector<TkeyRewrite>&& keys) override
    {
        auto* record = new TPCDscaleKey(&curve, start, end, newStart, newEnd, pivot);
        for (TkeyRewrite const& rewrite : keys) {
            record->keepKey(rewrite.fKey, rewrite.fBefore, rewrite.fAfter);
        }
        return record;
    }

    unsigned recordCount(Tdelta const* pending) const override
    {
        if (pending == nullptr) {
            return 0;
        }
        auto const* step = keelCast<TparamCurveDeltaComp>(const_cast<Tdelta*>(pending));
        return step != nullptr ? step->length() : 1;
    }
    void attachTangents(Tdelta* pending, TtangentJournal* tangents) override
    {
        auto* step = keelCast<TparamCurveDeltaComp>(pending);
        Tdelta* last = step != nullptr && step->length() > 0 ? step->delta(step->length() - 1) : pending;
        if (auto* record = keelCast<TparamCurveDelta>(last)) {
            record->attachRederivedTangents(tangents);
        } else {
            delete tangents;
        }
    }

    // A second record turns the pending one into a curve composite; later
    // ones go into that composite.
    Tdelta* combine(Tdelta* pending, Tdelta* offered, bool append, bool& answer) override
    {
        if (auto* composite = keelCast<TparamCurveDeltaComp>(pending)) {
            offer(*composite, offered, append);
            answer = append;
            return composite;
        }
        auto* composite = new TparamCurveDeltaComp();
        offer(*composite, pending, append);
        offer(*composite, offered, append);
        answer = true;
        return composite;
    }
};

TcurveDeltaRecorder sRecorder;

[[maybe_unused]] bool const sInstalled = [] {
    TcurveEditRecorder::install(&sRecorder);
    return true;
}();

}  // namespace
