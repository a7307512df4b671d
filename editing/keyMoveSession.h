#pragma once

#include "curve/detail/editKit.h"
#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/editing/moveKeyData.h"

#include <memory>
#include <vector>

// What a move or a scale keeps on its curve between calls: the move list
// from beginMoveKeys to endMoveKeys, the breakdown cache, and the edit mode
// (scaling between beginScaleKeys and endScaleKeys).
class TkeyMoveSession final : public TcurveEditSession {
public:
    static constexpr int kNoEdit = 0;
    static constexpr int kScaling = 3;

    TkeyMoveSession() = default;
    ~TkeyMoveSession() override { flushBreakdowns(); }

    // The curve's session; with `make`, one is made when there is none.
    static TkeyMoveSession* of(TparamCurve& curve, bool make);
    static TkeyMoveSession const* of(TparamCurve const& curve);

    void flushBreakdowns();

    std::unique_ptr<TmoveKeyDataPtrList> fMoveList;
    TbreakdownDataPtrArray fBreakdowns;  // owned records
    int fEditMode = kNoEdit;
};

// The index of a handle's key on `curve`, or kArrayFailure for a null
// handle, a handle of another curve, or a key that is not on the curve.
unsigned indexOfHandle(TparamCurve const& curve, TkeyframeHandle const* handle);

// The contents of a run of keys before an edit rewrites them in place;
// afterwards it answers the keys that changed, as they were and are, for
// the undo record that puts them back exactly.
class TrewriteSnapshot {
public:
    TrewriteSnapshot(TparamCurve const& curve, unsigned first, unsigned last);
    std::vector<TkeyRewrite> changes() const;

private:
    std::vector<TkeyRewrite> fKeys;
};
