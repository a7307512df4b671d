#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/curve/paramCurveEnums.h"
#include "keelanim/editing/keyframeHandle.h"
#include "keelanim/keys/keyframe.h"
#include "keelanim/undo/curveDelta.h"

#include <vector>

// Undo records of the editing layer's changes: keys moved and dragged,
// tangents dragged, regions scaled, rotation interpolation changed.

KEEL_DECLARE_METACLASS(TPCDdragKey);
KEEL_DECLARE_METACLASS(TPCDdragTan);
KEEL_DECLARE_METACLASS(TPCDdragSegment);
KEEL_DECLARE_METACLASS(TPCDscaleKey);
KEEL_DECLARE_METACLASS(TPCDrotationInterpolation);

// One key moved: from the previous to the current time, value and weight.
// Values are held in the curve's normalised space.
class KEEL_API TPCDdragKey : public TparamCurveDelta {
    KEEL_TYPED(TPCDdragKey)

public:
    TPCDdragKey(TkeyframeHandle* key, unsigned previousIndex, TtimeValue previousTime, double previousValue,
                double previousW, TtimeValue currentTime, double currentValue, double currentW,
                TparamCurveEnums::TmoveOption option, TparamCurve* curve);
    explicit TPCDdragKey(TparamCurve* curve);
    TPCDdragKey(TPCDdragKey const& other);
    ~TPCDdragKey() override;

    // Move the key to the previous / current state
    // (TparamCurve::moveForDeltaUndoRedo); false when the key is not on the
    // curve or the curve refuses.
    bool undo() override;
    bool redo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaMove; }
    // The move option when it is non-zero; otherwise recomputes the tangents
    // around the key and answers 0.
    int modifyTangent();

    TtimeValue previousTime() const { return fPreviousTime; }
    TtimeValue currentTime() const { return fCurrentTime; }
    double previousValue() const { return fPreviousValue; }
    double currentValue() const { return fCurrentValue; }
    double previousW() const { return fPreviousW; }
    double currentW() const { return fCurrentW; }
    unsigned previousIndex() const { return fPreviousIndex; }
    unsigned currentIndex() const { return fCurrentIndex; }
    TparamCurveEnums::TmoveOption moveOption() const { return fOption; }
    TkeyframeHandle* keyHandle() const { return fHandle; }
    void setPrevious(TtimeValue const& time, double value, double w);
    void setCurrent(TtimeValue const& time, double value, double w);

private:
    bool replay(bool undoing);

    TtimeValue fPreviousTime;
    TtimeValue fCurrentTime;
    double fPreviousValue = 0.0;
    double fCurrentValue = 0.0;
    double fPreviousW = 0.0;
    double fCurrentW = 0.0;
    unsigned fPreviousIndex = 0;
    unsigned fCurrentIndex = 0;
    TparamCurveEnums::TmoveOption fOption = TparamCurveEnums::kMoveBetweenNeighbours;
    TkeyframeHandle* fHandle = nullptr;  // owned
};

// One tangent of one key dragged or retyped.
//
// Replay drags the side back to the other position (when its type carries
// one, that is fixed or a plug-in type, and it moved) and retypes it. A
// record that also holds the whole key before and after (keepWholeKey, as
// TparamCurve::dragTangent's records do) then puts both tangents and both
// types back exactly as they were, whatever the segment would have made of
// the position and whatever types compute their tangents.
class KEEL_API TPCDdragTan : public TparamCurveDelta {
    KEEL_TYPED(TPCDdragTan)

public:
    TPCDdragTan(TparamCurve* curve, unsigned index);
    // Both types are `type`; `flag` is kept for the host.
    TPCDdragTan(float previousX, float previousY, unsigned char flag, float currentX, float currentY, TtangentType type,
                bool inTangent, TparamCurve* curve, unsigned index);
    // Positions (0, 1) on both sides.
    TPCDdragTan(TtangentType previous, TtangentType current, bool inTangent, TparamCurve* curve, unsigned index);
    TPCDdragTan(TPCDdragTan const& other) = default;

    bool undo() override;
    bool redo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaTangent; }
    unsigned replayMask() const override;

    void setIndex(unsigned index) { fIndex = index; }
    unsigned index() const { return fIndex; }
    void setInTangent(bool in) { fInTangent = in; }
    bool isInTangent() const { return fInTangent; }
    void setCurve(TparamCurve* curve) { fParamCurve = curve; }
    void setPreviousPosition(float x, float y);
    void setCurrentPosition(float x, float y);
    void getPreviousPosition(float& x, float& y) const;
    void getCurrentPosition(float& x, float& y) const;
    void setPreviousType(TtangentType type) { fPreviousType = type; }
    void setCurrentType(TtangentType type) { fCurrentType = type; }
    TtangentType previousType() const { return fPreviousType; }
    TtangentType currentType() const { return fCurrentType; }
    unsigned char flag() const { return fFlag; }
    // Keeps both tangents and both stored types of the key as they were
    // before and after the edit, for an exact replay.
    void keepWholeKey(Tkeyframe const& before, Tkeyframe const& after);

private:
    // Both tangents and both stored types of a key.
    struct TkeySides {
        float fInX = 0.0f, fInY = 0.0f, fOutX = 0.0f, fOutY = 0.0f;
        TtangentType fInType = kTangentFixed, fOutType = kTangentFixed;
        static TkeySides of(Tkeyframe const& key);
        void applyTo(TparamCurve& curve, unsigned index) const;
    };

    bool restore(TtangentType type, TtangentType otherType, bool undoing);
    bool dragBack(TtangentType type, TtangentType otherType, bool undoing);

    bool fInTangent = false;
    unsigned fIndex = 0;
    TtangentType fPreviousType = kTangentFixed;
    TtangentType fCurrentType = kTangentFixed;
    float fPreviousX = 0.0f, fPreviousY = 0.0f, fCurrentX = 0.0f, fCurrentY = 0.0f;
    unsigned char fFlag = 0;
    bool fHasWholeKey = false;
    TkeySides fBefore;
    TkeySides fAfter;
};

// Several keys moved together by one time and value change.
class KEEL_API TPCDdragSegment : public TparamCurveDelta {
    KEEL_TYPED(TPCDdragSegment)

public:
    TPCDdragSegment(TkeyframeHandlePtrArray& handles, TuInt32Array& indices, TtimeValue timeChange, double valueChange,
                    TparamCurveEnums::TmoveOption option, TparamCurve* curve);
    ~TPCDdragSegment() override;

    // Move the recorded keys back by the negated change / again by the
    // change, as one batch under option 3 whatever option was recorded.
    // Times are shifted in the curve's own form, values by subtraction: a
    // record the engine makes for its own moves is a TPCDdragKey, exact.
    bool undo() override;
    bool redo() override;

    TkeyframeHandlePtrArray const& keyHandles() const { return fHandles; }
    void timeChange(TtimeValue& change) const { change = fTimeChange; }
    void valueChange(double& change) const { change = fValueChange; }
    TparamCurveEnums::TmoveOption moveOption() const { return fOption; }
    TuInt32Array const& prevIndices() const { return fPreviousIndices; }
    TuInt32Array const& currentIndices() const { return fCurrentIndices; }
    void retrieveIndicesFromCurve();
    void retrieveIndicesFromCache();

private:
    bool shift(bool undoing);

    TkeyframeHandlePtrArray fHandles;  // owned handles
    TuInt32Array fPreviousIndices;
    TuInt32Array fCurrentIndices;
    TtimeValue fTimeChange;
    double fValueChange;
    TparamCurveEnums::TmoveOption fOption;
};

// A region scaled in time: [start, end] mapped onto [current start,
// current end] about the pivot.
//
// The engine's own scales also keep every key they rewrote, as it was and
// is (keepKeys): replay then puts those keys back exactly, including what
// rounding and reversal did to times and tangents. A record without them (a
// host's) replays TparamCurve::scaleRegion backwards / forwards.
class KEEL_API TPCDscaleKey : public TparamCurveDelta {
    KEEL_TYPED(TPCDscaleKey)

public:
    TPCDscaleKey(TparamCurve* curve, TtimeValue const& start, TtimeValue const& end, TtimeValue const& currentStart,
                 TtimeValue const& currentEnd, TtimeValue const& pivot);
    TPCDscaleKey(TPCDscaleKey const& other) = default;

    bool undo() override;
    bool redo() override;
    ZFn::Type apiType() const override { return ZFn::kKeyframeDeltaScale; }
    unsigned replayMask() const override;
    // Keeps `key` (a key of the curve, by address) as it was and is.
    void keepKey(Tkeyframe* key, Tkeyframe const& before, Tkeyframe const& after);
    unsigned keptKeyCount() const { return static_cast<unsigned>(fKeys.size()); }

    TtimeValue startTime() const { return fStart; }
    TtimeValue endTime() const { return fEnd; }
    TtimeValue currentStartTime() const { return fCurrentStart; }
    TtimeValue currentEndTime() const { return fCurrentEnd; }
    TtimeValue pivotTime() const { return fPivot; }

private:
    bool replay(bool undoing);

    TtimeValue fStart, fEnd, fCurrentStart, fCurrentEnd, fPivot;
    std::vector<Tkeyframe*> fKeys;
    std::vector<Tkeyframe> fBefore;
    std::vector<Tkeyframe> fAfter;
};

// The rotation interpolation of a curve changed: replay sets the previous /
// current mode (TparamCurve::setRotationInterpolation).
class KEEL_API TPCDrotationInterpolation : public TparamCurveDelta {
    KEEL_TYPED(TPCDrotationInterpolation)

public:
    TPCDrotationInterpolation(TparamCurve* curve, TparamCurveEnums::TrotationInterpolation previous,
                              TparamCurveEnums::TrotationInterpolation current);

    bool undo() override;
    bool redo() override;
    unsigned replayMask() const override;

    TparamCurveEnums::TrotationInterpolation previousInterpolation() const { return fPrevious; }
    TparamCurveEnums::TrotationInterpolation currentInterpolation() const { return fCurrent; }

private:
    bool replay(bool undoing);

    TparamCurveEnums::TrotationInterpolation fPrevious;
    TparamCurveEnums::TrotationInterpolation fCurrent;
};
