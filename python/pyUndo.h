#pragma once

#include <keelanim/keelanim.h>

#include <memory>
#include <vector>

// Undo for Python: one modification over some curves makes one step.
//
// A TpyUndoStep is a TparamCurveDeltaUser over a fixed list of curves: open()
// begins a modification on each (the engine then records every edit of
// them), close() ends them and moves the records into the step; undo() and
// redo() replay it. The step shares its curves, so its records never
// outlive the curves they name. States go new -> open -> done <-> undone;
// a call in the wrong state raises RuntimeError.
//
// A TpyHistory is the stack of done steps of a Curve or CurveSet, with the
// steps undone from it waiting to be redone; a new step forgets those.
class TpyUndoStep {
public:
    enum class Tstate { kNew, kOpen, kDone, kUndone };

    explicit TpyUndoStep(std::vector<std::shared_ptr<TparamCurve>> curves);
    TpyUndoStep(TpyUndoStep const&) = delete;
    TpyUndoStep& operator=(TpyUndoStep const&) = delete;
    ~TpyUndoStep();

    // RuntimeError (nothing begun) when a curve is in a modification already.
    void open();
    void close();
    void undo();
    void redo();

    Tstate state() const { return fState; }
    unsigned recordCount() const { return fRecords; }
    std::vector<std::shared_ptr<TparamCurve>> const& curves() const { return fCurves; }

private:
    void expectState(Tstate state, char const* action) const;

    std::vector<std::shared_ptr<TparamCurve>> fCurves;
    TparamCurveDeltaUser fUser;
    Tstate fState = Tstate::kNew;
    unsigned fRecords = 0;  // in the step once closed
};

class TpyHistory {
public:
    // Takes a closed step; a step without records is not kept.
    void push(std::shared_ptr<TpyUndoStep> step);
    // Undo the last done step / redo the last undone one; false when none.
    bool undo();
    bool redo();
    bool canUndo() const { return !fDone.empty(); }
    bool canRedo() const { return !fUndone.empty(); }
    void clear();

private:
    std::vector<std::shared_ptr<TpyUndoStep>> fDone;
    std::vector<std::shared_ptr<TpyUndoStep>> fUndone;
};
