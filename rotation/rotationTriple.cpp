#include "keelanim/rotation/rotationTriple.h"

#include "rotation/tripleKeys.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr unsigned kFirstRotationKind = 3;

bool finite(Tquaternion const& q)
{
    return std::isfinite(q.x()) && std::isfinite(q.y()) && std::isfinite(q.z()) && std::isfinite(q.w());
}

}  // namespace

TrotationTriple::TrotationTriple(TparamCurve& x, TparamCurve& y, TparamCurve& z) : fCurves{&x, &y, &z}
{
    fLinked = std::none_of(fCurves, fCurves + 3, [](TparamCurve const* c) { return c->hostHooksEnabled(); });
    if (!fLinked) {
        return;
    }
    TparamCurve::ThostHooks hooks;
    hooks.fOwner = this;
    hooks.fSiblingRotationCurves = &siblings;
    for (unsigned axis = 0; axis < 3; ++axis) {
        fCurves[axis]->setCurveKind(kFirstRotationKind + axis);
        fCurves[axis]->setHostHooks(hooks, true);
    }
}

TrotationTriple::~TrotationTriple()
{
    if (fLinked) {
        for (TparamCurve* curve : fCurves) {
            curve->setHostHooks(TparamCurve::ThostHooks(), false);
        }
    }
}

bool TrotationTriple::siblings(void* owner, TparamCurve const*, TparamCurve** x, TparamCurve** y, TparamCurve** z)
{
    auto const* triple = static_cast<TrotationTriple const*>(owner);
    *x = triple->fCurves[0];
    *y = triple->fCurves[1];
    *z = triple->fCurves[2];
    return true;
}

bool TrotationTriple::setKey(TtimeValue const& time, Tquaternion const& rotation, TtangentType in, TtangentType out)
{
    if (!finite(rotation)) {
        return false;
    }
    Tquaternion const q = Tquaternion(rotation).normalizeIt();
    double const components[3] = {q.x(), q.y(), q.z()};
    bool all = true;
    for (unsigned axis = 0; axis < 3; ++axis) {
        Tkeyframe key(time, components[axis], axis == 2 ? q.w() : 1.0, in, out);
        all = fCurves[axis]->add(key) && all;
    }
    return all;
}

bool TrotationTriple::setKey(TtimeValue const& time, TrotateXYZ const& angles, TtangentType in, TtangentType out)
{
    return setKey(time, angles.asQuaternion(), in, out);
}

Tquaternion TrotationTriple::keyRotation(unsigned index) const
{
    Tquaternion rotation;
    if (!keel_rotation::keyRotation(fCurves, index, rotation)) {
        return Tquaternion::identity;
    }
    return rotation.normalizeIt();
}

bool TrotationTriple::setRotationInterpolation(TparamCurveEnums::TrotationInterpolation mode)
{
    bool all = true;
    for (TparamCurve* curve : fCurves) {
        all = curve->setRotationInterpolation(mode) && all;
    }
    return all;
}
