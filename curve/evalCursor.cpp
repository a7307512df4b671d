// TevalCursor: a caller's own evaluation state for a curve.

#include "keelanim/curve/evalCursor.h"

#include "curve/detail/curveEvaluator.h"

#include <new>

TevalCursor::TevalCursor()
{
    static_assert(sizeof(TcurveEvaluator) <= kSpace && alignof(TcurveEvaluator) <= kAlign,
                  "the cursor keeps too little room for its evaluator");
    new (fSpace) TcurveEvaluator();
}

TevalCursor::~TevalCursor()
{
    evaluator().~TcurveEvaluator();
}

void TevalCursor::reset()
{
    fCurve = nullptr;
}

TcurveEvaluator& TevalCursor::evaluator()
{
    return *std::launder(reinterpret_cast<TcurveEvaluator*>(fSpace));
}

// Another curve (or a new curve at the address of one gone) gets a fresh
// evaluator, whose segment is made for its time form; the same curve after
// an edit forgets what it remembered, as the curve's own evaluator does.
TcurveEvaluator& TevalCursor::boundTo(TparamCurve const& curve)
{
    auto& readOnly = const_cast<TparamCurve&>(curve);  // invalidate() reads the key count only
    if (fCurve != &curve || fCurveSerial != curve.liveSerial()) {
        evaluator().~TcurveEvaluator();
        new (fSpace) TcurveEvaluator();
        evaluator().invalidate(readOnly, -1);
    } else if (fCurveEdits != curve.fEvaluationEdits) {
        evaluator().invalidate(readOnly, -1);
    }
    fCurve = &curve;
    fCurveSerial = curve.liveSerial();
    fCurveEdits = curve.fEvaluationEdits;
    return evaluator();
}
