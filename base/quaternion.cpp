#include "keelanim/base/quaternion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kPi = std::numbers::pi;
// Below this sine of the half angle between two rotations the arc is a line:
// interpolation blends linearly and normalises, which is exact to rounding.
constexpr double kNearlyParallel = 1e-6;
// |sin y| above this is gimbal lock: X and Z turn about the same axis.
constexpr double kGimbalLock = 1.0 - 1e-12;

Tquaternion scaled(Tquaternion const& q, double s)
{
    return {q.x() * s, q.y() * s, q.z() * s, q.w() * s};
}

Tquaternion sum(Tquaternion const& a, Tquaternion const& b)
{
    return {a.x() + b.x(), a.y() + b.y(), a.z() + b.z(), a.w() + b.w()};
}

Tquaternion normalised(Tquaternion q)
{
    return q.normalizeIt();
}

// `q` or -q, whichever lies in the hemisphere of `toward`: the same
// rotation, reached along the shorter arc.
Tquaternion sameHemisphere(Tquaternion const& q, Tquaternion const& toward)
{
    return q.dot(toward) < 0.0 ? q.negated() : q;
}

// Shoemake's construction on the sphere: p reflected through q, and the
// point halfway between two rotations.
Tquaternion doubled(Tquaternion const& p, Tquaternion const& q)
{
    return normalised(sum(scaled(q, 2.0 * p.dot(q)), p.negated()));
}

Tquaternion bisected(Tquaternion const& p, Tquaternion const& q)
{
    return normalised(sum(p, sameHemisphere(q, p)));
}

double wrapNear(double angle, double reference)
{
    return angle + 2.0 * kPi * std::round((reference - angle) / (2.0 * kPi));
}

double distance(TrotateXYZ const& a, TrotateXYZ const& b)
{
    return std::fabs(a.fX - b.fX) + std::fabs(a.fY - b.fY) + std::fabs(a.fZ - b.fZ);
}

}  // namespace

Tquaternion const Tquaternion::identity{0.0, 0.0, 0.0, 1.0};

Tquaternion Tquaternion::fromAxisAngle(double ax, double ay, double az, double radians)
{
    double const norm = std::sqrt(ax * ax + ay * ay + az * az);
    if (!(norm > 0.0) || !std::isfinite(norm) || !std::isfinite(radians)) {
        return identity;
    }
    double const s = std::sin(radians / 2.0) / norm;
    return {ax * s, ay * s, az * s, std::cos(radians / 2.0)};
}

double Tquaternion::dot(Tquaternion const& other) const
{
    return fX * other.fX + fY * other.fY + fZ * other.fZ + fW * other.fW;
}

double Tquaternion::length() const
{
    return std::sqrt(dot(*this));
}

Tquaternion& Tquaternion::normalizeIt()
{
    double const norm = length();
    if (!(norm > 0.0) || !std::isfinite(norm)) {
        *this = identity;
        return *this;
    }
    fX /= norm;
    fY /= norm;
    fZ /= norm;
    fW /= norm;
    return *this;
}

Tquaternion& Tquaternion::invertIt()
{
    normalizeIt();
    fX = -fX;
    fY = -fY;
    fZ = -fZ;
    return *this;
}

Tquaternion Tquaternion::inverse() const
{
    Tquaternion q = *this;
    return q.invertIt();
}

Tquaternion operator*(Tquaternion const& a, Tquaternion const& b)
{
    return {
        a.fW * b.fX + a.fX * b.fW + a.fY * b.fZ - a.fZ * b.fY, a.fW * b.fY - a.fX * b.fZ + a.fY * b.fW + a.fZ * b.fX,
        a.fW * b.fZ + a.fX * b.fY - a.fY * b.fX + a.fZ * b.fW, a.fW * b.fW - a.fX * b.fX - a.fY * b.fY - a.fZ * b.fZ};
}

Tquaternion Tquaternion::log() const
{
    Tquaternion const q = normalised(*this);
    double const vector = std::sqrt(q.fX * q.fX + q.fY * q.fY + q.fZ * q.fZ);
    if (vector < kNearlyParallel) {
        return {q.fX, q.fY, q.fZ, 0.0};  // sin(a)/a is 1 to rounding
    }
    double const half = std::atan2(vector, q.fW);
    return {q.fX * half / vector, q.fY * half / vector, q.fZ * half / vector, 0.0};
}

Tquaternion Tquaternion::exp(Tquaternion const& pure)
{
    double const half = std::sqrt(pure.fX * pure.fX + pure.fY * pure.fY + pure.fZ * pure.fZ);
    if (!std::isfinite(half)) {
        return identity;
    }
    double const s = half < kNearlyParallel ? 1.0 : std::sin(half) / half;
    return normalised({pure.fX * s, pure.fY * s, pure.fZ * s, std::cos(half)});
}

Tquaternion Tquaternion::pow(double exponent) const
{
    if (!std::isfinite(exponent)) {
        return identity;
    }
    Tquaternion const q = sameHemisphere(normalised(*this), identity);
    return exp(scaled(q.log(), exponent));
}

TrotateXYZ Tquaternion::convertToEulerAngles() const
{
    Tquaternion const q = normalised(*this);
    double const sinY = std::clamp(2.0 * (q.fW * q.fY - q.fZ * q.fX), -1.0, 1.0);
    if (std::fabs(sinY) > kGimbalLock) {
        // Only Z - X (Y = +pi/2) or Z + X (Y = -pi/2) is defined: with X at
        // 0 the rotation is qz * qy, whose z and w hold half of Z's angle.
        double const halfTurn = sinY > 0.0 ? kPi / 2.0 : -kPi / 2.0;
        return {0.0, halfTurn, wrapNear(2.0 * std::atan2(q.fZ, q.fW), 0.0)};
    }
    return {std::atan2(2.0 * (q.fW * q.fX + q.fY * q.fZ), 1.0 - 2.0 * (q.fX * q.fX + q.fY * q.fY)), std::asin(sinY),
            std::atan2(2.0 * (q.fW * q.fZ + q.fX * q.fY), 1.0 - 2.0 * (q.fY * q.fY + q.fZ * q.fZ))};
}

// --- Euler triples ------------------------------------------------------------------

Tquaternion TrotateXYZ::asQuaternion() const
{
    Tquaternion const qx = Tquaternion::fromAxisAngle(1.0, 0.0, 0.0, fX);
    Tquaternion const qy = Tquaternion::fromAxisAngle(0.0, 1.0, 0.0, fY);
    Tquaternion const qz = Tquaternion::fromAxisAngle(0.0, 0.0, 1.0, fZ);
    return qz * qy * qx;
}

TrotateXYZ TrotateXYZ::alternative() const
{
    return {fX + kPi, kPi - fY, fZ + kPi};
}

TrotateXYZ TrotateXYZ::closestTo(TrotateXYZ const& reference) const
{
    if (!std::isfinite(reference.fX) || !std::isfinite(reference.fY) || !std::isfinite(reference.fZ)) {
        return *this;
    }
    auto near = [&reference](TrotateXYZ const& e) {
        return TrotateXYZ{wrapNear(e.fX, reference.fX), wrapNear(e.fY, reference.fY), wrapNear(e.fZ, reference.fZ)};
    };
    TrotateXYZ const first = near(*this);
    TrotateXYZ const second = near(alternative());
    return distance(second, reference) < distance(first, reference) ? second : first;
}

// --- Interpolation --------------------------------------------------------------------

Tquaternion slerp(Tquaternion const& q0, Tquaternion const& q1, double t)
{
    Tquaternion const a = normalised(q0);
    Tquaternion const b = sameHemisphere(normalised(q1), a);
    if (!std::isfinite(t)) {
        return a;
    }
    double const cosine = std::clamp(a.dot(b), -1.0, 1.0);
    double const angle = std::acos(cosine);
    double const sine = std::sin(angle);
    if (sine < kNearlyParallel) {
        return normalised(sum(scaled(a, 1.0 - t), scaled(b, t)));
    }
    return normalised(sum(scaled(a, std::sin((1.0 - t) * angle) / sine), scaled(b, std::sin(t * angle) / sine)));
}

Tquaternion bezier(Tquaternion const& q0, Tquaternion const& a, Tquaternion const& b, Tquaternion const& q1, double t)
{
    Tquaternion const p01 = slerp(q0, a, t);
    Tquaternion const p12 = slerp(a, b, t);
    Tquaternion const p23 = slerp(b, q1, t);
    return slerp(slerp(p01, p12, t), slerp(p12, p23, t), t);
}

Tquaternion bezierPt(Tquaternion const& previous, Tquaternion const& q, Tquaternion const& next, bool outSide)
{
    Tquaternion const centre = normalised(q);
    Tquaternion const before = sameHemisphere(normalised(previous), centre);
    Tquaternion const after = sameHemisphere(normalised(next), centre);
    Tquaternion const out = slerp(centre, bisected(doubled(before, centre), after), 1.0 / 3.0);
    return outSide ? out : doubled(out, centre);
}
