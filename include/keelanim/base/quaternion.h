#pragma once

#include "keelanim/base/array.h"
#include "keelanim/base/export.h"

// Rotations as unit quaternions, and Euler angle triples.
//
// Tquaternion holds (x, y, z, w) in double precision, w being the scalar
// part; the identity is (0, 0, 0, 1). The product a * b is the rotation b
// followed by the rotation a (column-vector convention), so that
// (a * b) rotates v as a(b(v)).
//
// TrotateXYZ is an Euler triple in radians applied in X, Y, Z order: first
// about X, then about Y, then about Z, each about the fixed axes. As a
// quaternion it is qz * qy * qx.
//
// Every function answers a finite, normalised quaternion for finite input:
// interpolation takes the shorter arc and stays exact for identical,
// opposite and nearly parallel ends; a zero or non-finite quaternion is read
// as the identity.

struct TrotateXYZ;

class KEEL_API Tquaternion {
public:
    constexpr Tquaternion() = default;
    constexpr Tquaternion(double x, double y, double z, double w) : fX(x), fY(y), fZ(z), fW(w) {}
    // The rotation of `radians` about the axis (ax, ay, az); the identity for
    // a vanishing axis.
    static Tquaternion fromAxisAngle(double ax, double ay, double az, double radians);

    static Tquaternion const identity;  // NOLINT(readability-identifier-naming): the name hosts know

    double x() const { return fX; }
    double y() const { return fY; }
    double z() const { return fZ; }
    double w() const { return fW; }

    double dot(Tquaternion const& other) const;
    double length() const;
    // Scales to unit length; a zero or non-finite quaternion becomes the
    // identity. Answers *this.
    Tquaternion& normalizeIt();
    // The inverse rotation (the conjugate of the normalised quaternion).
    Tquaternion& invertIt();
    Tquaternion inverse() const;
    Tquaternion negated() const { return {-fX, -fY, -fZ, -fW}; }
    // The rotation taken `exponent` times along its own shorter arc:
    // exp(exponent log q). pow(0) is the identity, pow(1) the rotation.
    Tquaternion pow(double exponent) const;
    // The logarithm (a pure quaternion, w = 0) and the exponential of a
    // pure quaternion.
    Tquaternion log() const;
    static Tquaternion exp(Tquaternion const& pure);
    // Euler angles in X, Y, Z order, each in [-pi, pi] (Y in [-pi/2, pi/2]);
    // at gimbal lock X is 0 and Z carries the whole turn.
    TrotateXYZ convertToEulerAngles() const;

    friend KEEL_API Tquaternion operator*(Tquaternion const& a, Tquaternion const& b);
    friend bool operator==(Tquaternion const& a, Tquaternion const& b)
    {
        return a.fX == b.fX && a.fY == b.fY && a.fZ == b.fZ && a.fW == b.fW;
    }

private:
    double fX = 0.0;
    double fY = 0.0;
    double fZ = 0.0;
    double fW = 1.0;
};

struct KEEL_API TrotateXYZ {
    double fX = 0.0;
    double fY = 0.0;
    double fZ = 0.0;

    Tquaternion asQuaternion() const;
    // The same rotation written the other way, (x + pi, pi - y, z + pi).
    TrotateXYZ alternative() const;
    // Of the triples that give this rotation, the one nearest `reference`
    // (each angle moved by whole turns, both forms tried): what keeps an
    // animated rotation from flipping.
    TrotateXYZ closestTo(TrotateXYZ const& reference) const;
};

// The spherical-linear interpolation from q0 (t = 0) to q1 (t = 1) along the
// shorter arc; t outside [0, 1] extrapolates along the same great circle.
KEEL_API Tquaternion slerp(Tquaternion const& q0, Tquaternion const& q1, double t);
// The cubic quaternion curve with control points q0, a, b, q1 (De Casteljau
// construction with slerp), at t in [0, 1].
KEEL_API Tquaternion bezier(Tquaternion const& q0, Tquaternion const& a, Tquaternion const& b, Tquaternion const& q1,
                            double t);
// The control point beside `q` of a smooth curve through previous, q and
// next: on the out side of q when `outSide`, else on its in side (the
// reflection of the out point through q). Ends of a curve pass their own
// key as the missing neighbour.
KEEL_API Tquaternion bezierPt(Tquaternion const& previous, Tquaternion const& q, Tquaternion const& next, bool outSide);

using TquaternionArray = TtypedArray<Tquaternion>;
