#pragma once

#include "keelanim/base/export.h"

#include <cstddef>
#include <cstdint>

class TparamCurve;
class TcurveEvaluator;

// TevalCursor: where one caller's evaluations of a curve left off — the span
// of the last evaluation, its cubic or segment, the cached key and a copy of
// the key times for searches — kept by the caller instead of the curve.
//
// A curve evaluated through cursors is only read: several threads may
// evaluate one curve at once, each through its own cursor
// (TparamCurve::evaluate(time, cursor) const), as long as nobody edits the
// curve or evaluates it through its own evaluate() meanwhile. A cursor
// serves one thread at a time.
//
// A cursor follows the curve it last served: evaluating another curve, or
// the same curve after an edit, starts it afresh (the first evaluation after
// that searches, and copies the key times again, O(keys)). It owns what it
// holds and frees it when destroyed; the curve may be destroyed first.
// Rotation channels in a quaternion mode fill caches shared by their
// triple: their evaluations through cursors take turns on one lock.
class KEEL_API TevalCursor {
public:
    TevalCursor();
    ~TevalCursor();
    TevalCursor(TevalCursor const&) = delete;
    TevalCursor& operator=(TevalCursor const&) = delete;

    // Forgets everything: the next evaluation starts afresh.
    void reset();

private:
    friend class TparamCurve;

    // The evaluator, ready for `curve` as it is now.
    TcurveEvaluator& boundTo(TparamCurve const& curve);
    TcurveEvaluator& evaluator();

    TparamCurve const* fCurve = nullptr;
    std::uint64_t fCurveSerial = 0;
    std::uint64_t fCurveEdits = 0;
    // The evaluator is built in place here; its size is checked where it is
    // defined.
    static constexpr std::size_t kSpace = 224;
    static constexpr std::size_t kAlign = 16;
    alignas(kAlign) std::byte fSpace[kSpace];
};
