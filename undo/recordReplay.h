#pragma once

#include "curve/detail/editKit.h"
#include "keelanim/undo/curveDelta.h"

// TrecordReplay: one record's undo or redo, inside its curve's change bracket.
//
// Records replay as the edits they stand for run: the bracket opens first,
// with the edit's change mask (TparamCurveDelta::replayMask), and when the curve refuses (a locked channel,
// a helper's veto) the record changes nothing at all. Around the record's own
// replay it puts back the tangents its edit re-derived: undoing restores
// them before the record's replay (as they were before the edit), redoing
// re-applies them after it (as the edit left them).
//
// The record must not be inert (TparamCurveDelta::inert) when one is made.
class TrecordReplay {
public:
    // Opens the bracket with the record's replay mask.
    TrecordReplay(TparamCurveDelta& record, bool undoing);
    TrecordReplay(TrecordReplay const&) = delete;
    TrecordReplay& operator=(TrecordReplay const&) = delete;

    // False when the curve refused the change: the record must do nothing.
    bool open() const { return fScope.open(); }
    // Ends the replay; `done` says whether the record's own replay worked.
    // Answers whether the curve changed: `done`, or the record carries
    // re-derived tangents.
    bool finish(bool done);

private:
    void restoreTangents(bool before);

    TparamCurveDelta& fRecord;
    bool fUndoing;
    TchangeScope fScope;
};
