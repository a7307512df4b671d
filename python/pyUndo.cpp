#include "pyUndo.h"

#include "pyErrors.h"

#include <algorithm>
#include <utility>

namespace {

char const* stateWord(TpyUndoStep::Tstate state)
{
    switch (state) {
    case TpyUndoStep::Tstate::kNew: return "not begun";
    case TpyUndoStep::Tstate::kOpen: return "still open";
    case TpyUndoStep::Tstate::kDone: return "done";
    case TpyUndoStep::Tstate::kUndone: return "undone";
    }
    return "";
}

}  // namespace

TpyUndoStep::TpyUndoStep(std::vector<std::shared_ptr<TparamCurve>> curves) : fCurves(std::move(curves)) {}

// A step dropped while open (its context never exited) still ends the
// modifications, so that its curves do not go on recording.
TpyUndoStep::~TpyUndoStep()
{
    if (fState == Tstate::kOpen) {
        for (std::shared_ptr<TparamCurve> const& curve : fCurves) {
            fUser.endParamCurveMod(*curve);
        }
    }
}

void TpyUndoStep::expectState(Tstate state, char const* action) const
{
    if (fState != state) {
        raiseRuntimeError(std::string("cannot ") + action + " a step that is " + stateWord(fState));
    }
}

void TpyUndoStep::open()
{
    expectState(Tstate::kNew, "begin");
    bool const busy = std::any_of(fCurves.begin(), fCurves.end(),
                                  [](std::shared_ptr<TparamCurve> const& curve) { return curve->isMod(); });
    if (busy) {
        raiseRuntimeError("a curve of this modification is in another modification already");
    }
    for (std::shared_ptr<TparamCurve> const& curve : fCurves) {
        fUser.beginParamCurveMod(*curve);
    }
    fState = Tstate::kOpen;
}

void TpyUndoStep::close()
{
    expectState(Tstate::kOpen, "end");
    for (std::shared_ptr<TparamCurve> const& curve : fCurves) {
        fUser.endParamCurveMod(*curve);
    }
    fRecords = fUser.step().length();
    fState = Tstate::kDone;
}

void TpyUndoStep::undo()
{
    expectState(Tstate::kDone, "undo");
    fUser.undoPC();
    fState = Tstate::kUndone;
}

void TpyUndoStep::redo()
{
    expectState(Tstate::kUndone, "redo");
    fUser.redoPC();
    fState = Tstate::kDone;
}

void TpyHistory::push(std::shared_ptr<TpyUndoStep> step)
{
    if (step->recordCount() == 0) {
        return;
    }
    fUndone.clear();
    fDone.push_back(std::move(step));
}

// A step undone or redone by hand is passed over in the order it holds.
bool TpyHistory::undo()
{
    if (fDone.empty()) {
        return false;
    }
    std::shared_ptr<TpyUndoStep> step = std::move(fDone.back());
    fDone.pop_back();
    if (step->state() == TpyUndoStep::Tstate::kDone) {
        step->undo();
    }
    fUndone.push_back(std::move(step));
    return true;
}

bool TpyHistory::redo()
{
    if (fUndone.empty()) {
        return false;
    }
    std::shared_ptr<TpyUndoStep> step = std::move(fUndone.back());
    fUndone.pop_back();
    if (step->state() == TpyUndoStep::Tstate::kUndone) {
        step->redo();
    }
    fDone.push_back(std::move(step));
    return true;
}

void TpyHistory::clear()
{
    fDone.clear();
    fUndone.clear();
}
