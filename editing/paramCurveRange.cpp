#include "keelanim/editing/paramCurveRange.h"

#include "keelanim/curve/curveMessages.h"
#include "keelanim/curve/paramCurve.h"

#include <cmath>

namespace {
// The move option under which every key on one side of a moved key moves
// with it (a relative move: canMove refuses it only for absolute moves).
constexpr TparamCurveEnums::TmoveOption kShiftingMove = TparamCurveEnums::TmoveOption(1);

bool isNumber(TtimeValue const& time)
{
    return !std::isnan(time.seconds());
}
}  // namespace

// --- Construction and registration ----------------------------------------------------

TparamCurveRange::TparamCurveRange(TparamCurve* curve, TtimeValue const& start, TtimeValue const& end)
    : fStart(start), fEnd(end)
{
    listenTo(curve);
}

TparamCurveRange::TparamCurveRange(TparamCurve* curve, unsigned first, unsigned last)
{
    if (curve == nullptr || first >= curve->keyframeCount() || last >= curve->keyframeCount()) {
        return;
    }
    fStart = curve->timeValue(first);
    fEnd = curve->timeValue(last);
    listenTo(curve);
}

TparamCurveRange::TparamCurveRange(TparamCurveRange const& other)
    : Tclient(other), fStart(other.fStart), fEnd(other.fEnd)
{
    listenTo(other.fCurve);
}

TparamCurveRange& TparamCurveRange::operator=(TparamCurveRange const& other)
{
    if (this != &other) {
        stopListening();
        fStart = other.fStart;
        fEnd = other.fEnd;
        listenTo(other.fCurve);
    }
    return *this;
}

TparamCurveRange::~TparamCurveRange()
{
    stopListening();
}

void TparamCurveRange::listenTo(TparamCurve* curve)
{
    fCurve = curve;
    if (fCurve != nullptr) {
        fCurve->addClient(this, TkeyframeMovedMsgTmeta, &keyframeMovedCB, TserverDeletedMsgTmeta, &curveDeletedCB);
        fRegistered = true;
    }
}

void TparamCurveRange::stopListening()
{
    if (fRegistered && fCurve != nullptr) {
        fCurve->removeClient(this, TkeyframeMovedMsgTmeta);
        fCurve->removeClient(this, TserverDeletedMsgTmeta);
    }
    fRegistered = false;
    fCurve = nullptr;
}

// --- The interval ---------------------------------------------------------------------

void TparamCurveRange::setTime(TtimeValue const& start, TtimeValue const& end)
{
    fStart = start;
    fEnd = end;
}

bool TparamCurveRange::operator==(TparamCurveRange const& other) const
{
    return fCurve == other.fCurve && fStart == other.fStart && fEnd == other.fEnd;
}

bool TparamCurveRange::asKeyframes(TuInt32Array& indices, Tkeyframe const* exclude) const
{
    if (fCurve == nullptr) {
        return false;
    }
    indices.changeLogicalSizeTo(0);
    unsigned first = 0;
    unsigned past = 0;
    fCurve->find(fStart, first);
    past = fCurve->find(fEnd, past) ? past + 1 : past;
    for (unsigned index = first; index < past; ++index) {
        if (exclude == nullptr || fCurve->keyframe(index) != exclude) {
            indices.addLast(index);
        }
    }
    return true;
}

// --- Messages from the curve ----------------------------------------------------------

void TparamCurveRange::keyframeMoved(TclientServer*, TserverMsg const& msg)
{
    // A move without a time to compare (NaN) says nothing about the range.
    auto const* moved = keelCast<TkeyframeMovedMsg>(&msg);
    if (moved == nullptr || !isNumber(moved->from()) || !isNumber(moved->to())) {
        return;
    }
    if (moved->option() == kShiftingMove) {
        shiftAfterMove(moved->from(), moved->to());
    } else {
        growAfterMove(moved->from(), moved->to());
    }
}

// A later move carries the keys after the moved one along: a key at or
// before the start shifts the whole range, one inside shifts the end. An
// earlier move carries the keys before it: a key at or after the end shifts
// the whole range, one inside shifts the start.
void TparamCurveRange::shiftAfterMove(TtimeValue const& from, TtimeValue const& to)
{
    if (to > from) {
        TtimeValue const offset = to - from;
        if (from <= fStart) {
            fStart = fStart + offset;
            fEnd = fEnd + offset;
        } else if (from <= fEnd) {
            fEnd = fEnd + offset;
        }
        return;
    }
    TtimeValue const offset = from - to;
    if (from >= fEnd) {
        fStart = fStart - offset;
        fEnd = fEnd - offset;
    } else if (from >= fStart) {
        fStart = fStart - offset;
    }
}

void TparamCurveRange::growAfterMove(TtimeValue const& from, TtimeValue const& to)
{
    if (from < fStart || from > fEnd) {
        return;
    }
    if (to < fStart) {
        fStart = to;
    } else if (to > fEnd) {
        fEnd = to;
    }
}

void TparamCurveRange::curveDeleted(TclientServer* server, TserverMsg const&)
{
    if (server == fCurve) {
        fCurve = nullptr;
    }
}

void TparamCurveRange::keyframeMovedCB(Tclient* client, TclientServer* server, TserverMsg const& msg)
{
    static_cast<TparamCurveRange*>(client)->keyframeMoved(server, msg);
}

void TparamCurveRange::curveDeletedCB(Tclient* client, TclientServer* server, TserverMsg const& msg)
{
    static_cast<TparamCurveRange*>(client)->curveDeleted(server, msg);
}
