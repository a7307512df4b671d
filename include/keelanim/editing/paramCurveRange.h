#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/clientServer.h"
#include "keelanim/base/export.h"

class TparamCurve;
class Tkeyframe;

// TparamCurveRange: a region of a curve, a time interval that follows edits.
//
// The host keeps a range to remember a stretch of a curve across edits. The
// range listens to its curve: when keys move (TkeyframeMovedMsg) it shifts
// or widens so that the keys it held stay inside; when the curve is deleted
// it forgets the curve. Times are in the form the host sees (TparamCurve::
// timeValue) and both ends are inclusive.
//
// Ownership: the curve is not owned. The range is a client of the curve
// while it has one; copies register anew; the destructor unregisters.
//
// Failure: a range without a curve answers false from asKeyframes; nothing
// else fails.
class KEEL_API TparamCurveRange : public Tclient {
public:
    // No curve, zero times.
    TparamCurveRange() = default;
    // Listens to `curve` when it is not null.
    TparamCurveRange(TparamCurve* curve, TtimeValue const& start, TtimeValue const& end);
    // From the time of key `first` to that of key `last`. When either index
    // is not below the key count the range has zero times and no curve.
    TparamCurveRange(TparamCurve* curve, unsigned first, unsigned last);
    TparamCurveRange(TparamCurveRange const& other);
    // Leaves the old curve and listens to the new one.
    TparamCurveRange& operator=(TparamCurveRange const& other);
    ~TparamCurveRange() override;

    TtimeValue const& startTime() const { return fStart; }
    TtimeValue const& endTime() const { return fEnd; }
    TparamCurve* paramCurve() const { return fCurve; }
    // Whether the range registered with its curve (stays true after the
    // curve is deleted).
    bool isRegistered() const { return fRegistered; }
    void setTime(TtimeValue const& start, TtimeValue const& end);
    // Same curve and the same ends.
    bool operator==(TparamCurveRange const& other) const;
    bool operator!=(TparamCurveRange const& other) const { return !(*this == other); }

    // Empties `indices`, then lists the index of every key from the first at
    // or after the start to the last at or before the end, leaving out
    // `exclude` when it is not null. False without a curve.
    bool asKeyframes(TuInt32Array& indices, Tkeyframe const* exclude) const;

    // --- Messages from the curve ---------------------------------------------
    // A key moved from a to b. Under the shifting move option (1, which moves
    // every key on one side of the key with it) the ends on the key's side
    // shift by b - a; under any other option the range only grows to keep a
    // key that was inside it, and never shrinks. Moves from or to a NaN time
    // are ignored.
    virtual void keyframeMoved(TclientServer* server, TserverMsg const& msg);
    // Forgets the curve.
    virtual void curveDeleted(TclientServer* server, TserverMsg const& msg);

private:
    static void keyframeMovedCB(Tclient* client, TclientServer* server, TserverMsg const& msg);
    static void curveDeletedCB(Tclient* client, TclientServer* server, TserverMsg const& msg);
    void listenTo(TparamCurve* curve);
    void stopListening();
    void shiftAfterMove(TtimeValue const& from, TtimeValue const& to);
    void growAfterMove(TtimeValue const& from, TtimeValue const& to);

    TparamCurve* fCurve = nullptr;
    TtimeValue fStart;
    TtimeValue fEnd;
    bool fRegistered = false;
};
