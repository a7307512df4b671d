#include "undo/keyTangentsDelta.h"

#include "keelanim/curve/paramCurve.h"

KEEL_DEFINE_METACLASS(TPCDkeyTangents, &TparamCurveDeltaTmeta);

TPCDkeyTangents::TPCDkeyTangents(TparamCurve* curve, TtangentJournal const& journal)
    : TparamCurveDelta(curve), fJournal(journal)
{
}

// Undo puts the "before" tangents back last key first; redo the "after"
// ones first key first, mirroring the order they were derived in.
bool TPCDkeyTangents::apply(bool before)
{
    if (fParamCurve == nullptr) {
        return false;
    }
    auto const& entries = fJournal.entries();
    for (std::size_t n = 0; n < entries.size(); ++n) {
        TtangentJournal::Tentry const& entry = entries[before ? entries.size() - 1 - n : n];
        unsigned const index = fParamCurve->indexOfKey(entry.fKey);
        if (index == kArrayFailure) {
            continue;
        }
        TkeyTangents const& t = before ? entry.fBefore : entry.fAfter;
        entry.fKey->setTanIn(t.fInX, t.fInY);
        entry.fKey->setTanOut(t.fOutX, t.fOutY);
        fParamCurve->invalidateCache(static_cast<int>(index));
    }
    return true;
}

bool TPCDkeyTangents::undo()
{
    return apply(true);
}

bool TPCDkeyTangents::redo()
{
    return apply(false);
}
