#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/export.h"
#include "keelanim/base/ffd.h"
#include "keelanim/base/hashTable.h"
#include "keelanim/base/sharedObject.h"

class Tkeyframe;
class TkeyframeHandle;
class TparamCurve;

// Time-value change functions: what a move asks, key by key, for the time
// and value change of each key it places (TparamCurve::moveKeys with a
// change function). TtimeValueChangeFn gives every key the same change;
// TfalloffFn fades it with each key's distance from the grabbed key (a soft
// selection); TlatticeFn gives each key the change a deformed lattice makes
// to it.
//
// Times: changes are handed out in the required format (seconds, ticks, or
// whatever form they were given in). Keys are named by handle; a null
// handle or a handle whose key is gone answers the constant change.
class KEEL_API TtimeValueChangeFn {
public:
    enum TimeFormat : int {
        kSecondsFormat = 0,
        kTicksFormat = 1,
        kAnyFormat = 2,
    };

    // No change, any format.
    TtimeValueChangeFn() = default;
    // The change (time, value), in the form the time is given in.
    TtimeValueChangeFn(TtimeValue const& time, double value);
    TtimeValueChangeFn(TtimeValueChangeFn const&) = default;
    TtimeValueChangeFn& operator=(TtimeValueChangeFn const&) = default;
    virtual ~TtimeValueChangeFn();

    // Stores the change, converted to the required format.
    void setTimeChange(TtimeValue const& time);
    void setValueChange(double value) { fValueChange = value; }
    TimeFormat requiredTimeFormat() const { return fRequiredFormat; }
    void setRequiredTimeFormat(TimeFormat format);
    // Ticks for a curve that stores ticks, seconds otherwise; nothing for
    // null.
    void setRequiredTimeFormat(TparamCurve const* curve);
    // Ticks become seconds (ticks / 6000) when seconds are required, and
    // seconds the nearest tick when ticks are.
    void convertTimeToRequiredFmt(TtimeValue& time) const;

    // The time change for the key (`time`, when given, the time the change
    // is measured from; else the key's own).
    virtual TtimeValue timeChange(TkeyframeHandle const* key, TtimeValue const* time) const;
    virtual double valueChange(TkeyframeHandle const* key) const;
    // Whether every key gets the same change.
    virtual bool constantFn() const { return true; }
    // Whether changes can be handed out in this format.
    virtual bool canProvide(TimeFormat format) const;
    // Exchange the function's present and earlier state (a lattice's); true
    // when there was one to exchange.
    virtual bool undo() { return true; }
    virtual bool redo() { return true; }

protected:
    TtimeValue const& storedTimeChange() const { return fTimeChange; }
    double storedValueChange() const { return fValueChange; }

private:
    TtimeValue fTimeChange;
    double fValueChange = 0.0;
    TimeFormat fRequiredFormat = kAnyFormat;
};

using TkeyDistHash = TdataHashTable<Tkeyframe*, double>;

// The change weighted by a falloff of each key's distance d from the pick:
// w = 1 - d / (the largest distance added), clamped to [0, 1] (every key 1
// while that largest distance is below 1e-5); linear falloff scales the
// change by w, quadratic by w squared, any other type not at all. A key
// without a distance has d = 0. The caller adds one distance per key (in
// time, or in time and value: its choice) before the move.
class KEEL_API TfalloffFn : public TtimeValueChangeFn {
public:
    enum TfalloffFnType : int {
        kLinearFalloff = 0,
        kQuadraticFalloff = 1,
    };

    TfalloffFn() = default;
    TfalloffFn(TfalloffFn const&) = delete;
    TfalloffFn& operator=(TfalloffFn const&) = delete;
    ~TfalloffFn() override;

    // Times in seconds (ticks / 6000); the range is kept ordered.
    void setPickTime(TtimeValue const& time);
    void setPickValue(double const& value) { fPickValue = value; }
    void setFalloffRng(TtimeValue const& a, TtimeValue const& b);
    void setFalloffType(TfalloffFnType type) { fType = type; }
    float pickTime() const { return fPickTime; }
    double pickValue() const { return fPickValue; }
    float rangeStart() const { return fRangeStart; }
    float rangeEnd() const { return fRangeEnd; }
    TfalloffFnType falloffType() const { return fType; }
    double maxDistance() const { return fMaxDistance; }

    // Raises the largest distance; the key keeps the first distance it was
    // given. NaN distances and null keys are ignored.
    void addKeyframeDist(Tkeyframe* key, double distance);
    // The key's weight w (0 for a null handle).
    double distFromKeyHandle(TkeyframeHandle const* key) const;

    TtimeValue timeChange(TkeyframeHandle const* key, TtimeValue const* time) const override;
    double valueChange(TkeyframeHandle const* key) const override;
    bool constantFn() const override { return false; }
    bool canProvide(TimeFormat format) const override;

private:
    // The factor the falloff type makes of the key's weight.
    double falloff(TkeyframeHandle const* key) const;

    double fMaxDistance = 0.0;
    TkeyDistHash fDistances;
    float fRangeStart = 0.0f;
    float fRangeEnd = 0.0f;
    float fPickTime = 0.0f;
    double fPickValue = 0.0;
    TfalloffFnType fType = kLinearFalloff;
};

// A lattice over a block of keys, shared by the tool that edits it and the
// change function that moves keys by it (counted, thread-safe: ref() and
// unref(), which deletes it with the last owner).
//
// Key space is (time in seconds, value); the bounding rectangle maps it to
// the lattice's unit square. An axis of the rectangle narrower than 0.01 is
// not stretched (it maps with scale 1 from its low edge), so a flat block
// deforms without a division by nothing.
class KEEL_API TsharedLatticeObject : public TsharedObject {
public:
    // A 2 x 2 undeformed lattice over the empty rectangle.
    TsharedLatticeObject();

    // More than three lattice points.
    bool valid() const { return fPoints.count() > 3; }
    // 0 when both sides of the rectangle are below 0.01, 1 when only its
    // height is, 2 when only its width is, 3 otherwise.
    int dimensions() const;
    void convertToLatticeSpace(double& x, double& y) const;
    void convertToWorldSpace(double& x, double& y) const;

    // This object's lattice, divisions, envelope and rectangle become those
    // of `other`.
    void copy(TsharedLatticeObject const& other);
    // The undeformed lattice of the present divisions.
    void reset();
    void reBuildLattice() { reset(); }
    // Divisions below 2 are refused (false); a change rebuilds the lattice
    // undeformed.
    bool setSDivisions(unsigned divisions);
    bool setTDivisions(unsigned divisions);
    bool setEnvelope(float envelope);
    bool setBoundingRect(TdblRect const& rect);
    // Moves control point (s, t) to (x, y) in lattice space; false for an
    // index out of range or a point that is not finite.
    bool setLatticePair(unsigned s, unsigned t, double x, double y);

    unsigned sDivisions() const { return fSDivisions; }
    unsigned tDivisions() const { return fTDivisions; }
    float envelope() const { return fEnvelope; }
    TdblRect const& boundingRect() const { return fRect; }
    T4dDblPointArray const& latticePoints() const { return fPoints; }

protected:
    ~TsharedLatticeObject() override;

private:
    bool setDivisions(unsigned& side, unsigned divisions);

    T4dDblPointArray fPoints;
    unsigned fSDivisions = 2;
    unsigned fTDivisions = 2;
    float fEnvelope = 0.0f;
    TdblRect fRect;
};

// A key as the lattice saw it before deforming: time (seconds), value in
// lattice units (the key's value divided by fValueScale), and the scale that
// turns a deformed value back into a key value.
struct TlatticeFnValues {
    float fTime = 0.0f;
    double fValue = 0.0;
    double fValueScale = 1.0;
    bool fValid = false;
};
using TlatticeFnValuesHash = TdataHashTable<Tkeyframe*, TlatticeFnValues>;

// The change a lattice deformation makes to each key: the key's undeformed
// point, deformed, less where the key is now. A lattice tool hands the
// function its lattice (setLatticeParams, which also notes it as the lattice
// before the step), changes the lattice, calls setLatticeDirty and moves
// the keys; undo and redo exchange the lattice with the one before it, so
// the step can be taken back and forth. The function owns one count on each
// lattice it holds.
class KEEL_API TlatticeFn : public TtimeValueChangeFn {
public:
    TlatticeFn() = default;
    TlatticeFn(TlatticeFn const&) = delete;
    TlatticeFn& operator=(TlatticeFn const&) = delete;
    ~TlatticeFn() override;

    // Takes a count on `lattice` as the current one and keeps a private copy
    // of it as the one before; ignored unless the lattice is valid.
    void setLatticeParams(TsharedLatticeObject* lattice);
    // The keys' undeformed values, copied; the cache of deformed values
    // starts empty. Ignored for null.
    void setOrigValuesHashTB(TlatticeFnValuesHash const* values);
    // Notes key `key` at (time seconds, value) undeformed, with the value
    // scale; false for a null key or NaN input.
    bool addOrigValue(Tkeyframe* key, float time, double value, double valueScale);
    // Reloads the deformer from the current lattice, which its owner has
    // changed, and forgets every deformed value. The lattice before stays:
    // undo() goes back to it.
    void setLatticeDirty();
    // The key's deformed (time, value); false without a key, a lattice or an
    // undeformed value for it. When the deformer fails, (0, 0) and true.
    bool deform(TkeyframeHandle const* key, TtimeValue& time, double& value) const;

    TtimeValue timeChange(TkeyframeHandle const* key, TtimeValue const* time) const override;
    double valueChange(TkeyframeHandle const* key) const override;
    bool constantFn() const override { return false; }
    bool canProvide(TimeFormat) const override { return true; }
    bool undo() override;
    bool redo() override { return undo(); }

    TsharedLatticeObject* lattice() const { return fCurrent; }

private:
    void releaseLattices();
    bool loadDeformer();

    T2dFfd fDeformer;
    TsharedLatticeObject* fCurrent = nullptr;
    TsharedLatticeObject* fPrevious = nullptr;
    TlatticeFnValuesHash fOriginal;
    mutable TlatticeFnValuesHash fCache;
};
