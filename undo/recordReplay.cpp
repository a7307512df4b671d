#include "undo/recordReplay.h"

TrecordReplay::TrecordReplay(TparamCurveDelta& record, bool undoing)
    : fRecord(record), fUndoing(undoing), fScope(*record.paramCurve(), record.replayMask())
{
    if (fScope.open() && fUndoing) {
        restoreTangents(true);
    }
}

// A record whose own replay had nothing to do (a side whose computed type did
// not change) still carries the tangents its edit re-derived: a redo puts
// them back all the same.
bool TrecordReplay::finish(bool done)
{
    bool const carriesTangents = fRecord.rederivedTangents() != nullptr;
    if ((done || carriesTangents) && !fUndoing) {
        restoreTangents(false);
    }
    if (done || carriesTangents) {
        fScope.modified();
    }
    return done || carriesTangents;
}

// Undo puts the "before" tangents back last key first; redo the "after" ones
// first key first, mirroring the order they were derived in. A key not on the
// curve at that moment is left alone: its own record carries it.
void TrecordReplay::restoreTangents(bool before)
{
    TtangentJournal const* tangents = fRecord.rederivedTangents();
    if (tangents == nullptr) {
        return;
    }
    TparamCurve& curve = *fRecord.paramCurve();
    auto const& entries = tangents->entries();
    for (std::size_t n = 0; n < entries.size(); ++n) {
        TtangentJournal::Tentry const& entry = entries[before ? entries.size() - 1 - n : n];
        unsigned const index = curve.indexOfKey(entry.fKey);
        if (index == kArrayFailure) {
            continue;
        }
        TkeyTangents const& t = before ? entry.fBefore : entry.fAfter;
        entry.fKey->setTanIn(t.fInX, t.fInY);
        entry.fKey->setTanOut(t.fOutX, t.fOutY);
        curve.invalidateCache(static_cast<int>(index));
    }
}
