#pragma once

#include "keelanim/base/export.h"
#include "keelanim/base/quaternion.h"
#include "keelanim/curve/paramCurve.h"

// TrotationTriple: three curves linked as the X, Y and Z channels of one
// rotation, for hosts without a sibling lookup of their own.
//
// Construction makes the curves rotation channels (kinds 3, 4 and 5) and
// installs on each the sibling hook that names the three; destruction
// removes it. The triple owns none of the curves, which must outlive it,
// and it must stay where it is while linked (the hooks point to it). Curves
// that carry host hooks already are left as they are (linked() is false).
//
// Keys of a triple in a quaternion mode hold a rotation: setKey writes the
// quaternion's x, y and z as the three curves' values and w as the Z key's
// auxiliary component, at the same time on all three curves.
class KEEL_API TrotationTriple {
public:
    TrotationTriple(TparamCurve& x, TparamCurve& y, TparamCurve& z);
    TrotationTriple(TrotationTriple const&) = delete;
    TrotationTriple& operator=(TrotationTriple const&) = delete;
    ~TrotationTriple();

    bool linked() const { return fLinked; }
    // Channel 0 (X), 1 (Y) or 2 (Z); null otherwise.
    TparamCurve* channel(unsigned axis) const { return axis < 3 ? fCurves[axis] : nullptr; }

    // Keys the rotation at `time` (a time of the curves' form) on all three
    // curves, with the given tangent types. False when any curve refuses or
    // the rotation is not finite.
    bool setKey(TtimeValue const& time, Tquaternion const& rotation, TtangentType in, TtangentType out);
    bool setKey(TtimeValue const& time, TrotateXYZ const& angles, TtangentType in, TtangentType out);
    // The stored rotation of key `index`; the identity when the three keys
    // are missing or out of step.
    Tquaternion keyRotation(unsigned index) const;
    // Sets the mode on all three curves (recorded in a modification).
    bool setRotationInterpolation(TparamCurveEnums::TrotationInterpolation mode);

private:
    static bool siblings(void* owner, TparamCurve const* curve, TparamCurve** x, TparamCurve** y, TparamCurve** z);

    TparamCurve* fCurves[3];
    bool fLinked = false;
};
