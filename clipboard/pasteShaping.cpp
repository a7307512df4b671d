// The paste plan, the scaled and fitted pastes, and the conversions of a
// clipboard triple between quaternion and Euler keys.

#include "clipboard/clipboardKit.h"
#include "clipboard/pasteKit.h"
#include "curve/detail/editKit.h"
#include "keelanim/base/numeric.h"

#include <cmath>
#include <memory>
#include <vector>

using namespace keel_clipboard;

namespace {

bool finiteSettings(TpasteSettings const& settings)
{
    return std::isfinite(settings.fValueOffset) && std::isfinite(settings.fValueScale) &&
           std::isfinite(settings.fValuePivot);
}

bool isQuaternionMode(TparamCurve const& curve)
{
    return curve.rotationInterpolation() >= TparamCurveEnums::kQuaternionTangentDependent;
}

// Whether three curves key the same times.
bool keyedInStep(TparamCurve* const* curves)
{
    unsigned const count = curves[0]->keyframeCountAll();
    if (curves[1]->keyframeCountAll() != count || curves[2]->keyframeCountAll() != count) {
        return false;
    }
    for (unsigned i = 0; i < count; ++i) {
        TtimeValue const time = curves[0]->timeValue(i);
        if (curves[1]->timeValue(i) != time || curves[2]->timeValue(i) != time) {
            return false;
        }
    }
    return true;
}

// Euler keys of a clipboard triple turned into quaternion keys of `mode`:
// the curves are first keyed at the same times, each key's rotation kept on
// the hemisphere of the one before.
bool convertToQuaternion(TparamCurve** curves, TparamCurveEnums::TrotationInterpolation mode)
{
    if (!TparamCurve::syncroniseCurvesInTime(curves, 3) || !keyedInStep(curves)) {
        return false;
    }
    unsigned const count = curves[0]->keyframeCountAll();
    std::vector<Tquaternion> rotations;
    rotations.reserve(count);
    for (unsigned i = 0; i < count; ++i) {
        Tquaternion q = TrotateXYZ{curves[0]->value(i), curves[1]->value(i), curves[2]->value(i)}.asQuaternion();
        if (!rotations.empty() && q.dot(rotations.back()) < 0.0) {
            q = q.negated();
        }
        rotations.push_back(q);
    }
    for (unsigned axis = 0; axis < 3; ++axis) {
        curves[axis]->setRotationInterpolation(mode);
    }
    for (unsigned i = 0; i < count; ++i) {
        Tquaternion const& q = rotations[i];
        curves[0]->setValue(i, q.x(), 1.0f);
        curves[1]->setValue(i, q.y(), 1.0f);
        curves[2]->setValue(i, q.z(), narrowToFloat(q.w()));
    }
    return true;
}

// Copies of the clipboard curves that may be changed (the caller owns them).
void copiesOf(TparamCurve* const* clipboard, unsigned count, std::unique_ptr<TparamCurve>* copies)
{
    for (unsigned i = 0; i < count; ++i) {
        copies[i] = scratchOf(*clipboard[i]);
    }
}

// The worker an option ends in: insert, replace or merge.
unsigned finalPaste(TparamCurve& curve, TparamCurve::TpasteOption option, TtimeValue const& start,
                    TtimeValue const& end, unsigned count, TparamCurve* const* clipboard, TparamCurve* const* targets,
                    TpasteSettings const& settings)
{
    switch ((option - TparamCurve::kPasteScaleInsert) % 3) {
    case 0: return curve.pasteInsert(start, end, count, clipboard, targets, start, end, settings);
    case 1: return curve.pasteReplace(start, end, count, clipboard, targets, start, end, settings);
    default: return curve.pasteMerge(start, end, count, clipboard, targets, start, end, settings);
    }
}

}  // namespace

namespace keel_clipboard {

TpastePlan::TpastePlan(TparamCurve& curve, unsigned count, TparamCurve* const* clipboard,
                       TpasteSettings const& settings)
    : fCurve(curve), fSettings(settings)
{
    if ((count != 1 && count != 3) || clipboard == nullptr || !finiteSettings(settings)) {
        return;
    }
    for (unsigned i = 0; i < count; ++i) {
        if (clipboard[i] == nullptr || clipboard[i]->isFloatCurve() != curve.isFloatCurve()) {
            return;
        }
    }
    TparamCurve* channels[3] = {};
    unsigned const targets = channelsOf(curve, channels);
    if (count == 1) {
        fClipboard[0] = clipboard[0];
        fTargets[0] = &curve;
        fCount = 1;
    } else if (targets == 3) {
        bool const fromQuaternion = isQuaternionMode(*clipboard[0]);
        bool const toQuaternion = isQuaternionTriple(channels, 3);
        for (unsigned axis = 0; axis < 3; ++axis) {
            fClipboard[axis] = clipboard[axis];
            fTargets[axis] = channels[axis];
        }
        fCount = 3;
        if (fromQuaternion != toQuaternion &&
            !useConverted(clipboard, toQuaternion, channels[0]->rotationInterpolation())) {
            return;
        }
    } else {
        unsigned const axis = curve.isRotationCurve() ? curve.curveKind() - 3 : settings.fSourceIndex;
        if (axis >= 3 || (isQuaternionMode(*clipboard[0]) && !useConverted(clipboard, false, {}))) {
            return;
        }
        fClipboard[0] = fConverted[axis] != nullptr ? fConverted[axis].get() : clipboard[axis];
        fTargets[0] = &curve;
        fCount = 1;
    }
    fValid = fClipboard[0]->keyframeCountAll() > 0;
}

TpastePlan::~TpastePlan() = default;

bool TpastePlan::useConverted(TparamCurve* const* clipboard, bool toQuaternion,
                              TparamCurveEnums::TrotationInterpolation mode)
{
    copiesOf(clipboard, 3, fConverted);
    TparamCurve* copies[3] = {fConverted[0].get(), fConverted[1].get(), fConverted[2].get()};
    bool const converted = toQuaternion ? convertToQuaternion(copies, mode)
                                        : TparamCurve::convertCopyResultToIndependentEuler(3, copies, true);
    for (unsigned axis = 0; axis < 3 && fCount == 3; ++axis) {
        fClipboard[axis] = copies[axis];
    }
    return converted;
}

bool TpastePlan::copiedRange(TtimeValue& start, TtimeValue& end) const
{
    TparamCurve const& first = *fClipboard[0];
    start = fSettings.fCopiedStart != nullptr ? *fSettings.fCopiedStart : first.timeValue(0u);
    end = fSettings.fCopiedEnd != nullptr ? *fSettings.fCopiedEnd : first.timeValue(first.keyframeCountAll() - 1);
    return TcurveEditKit::acceptsTimeForm(fCurve, start) && TcurveEditKit::acceptsTimeForm(fCurve, end) &&
           std::isfinite(start.seconds()) && std::isfinite(end.seconds()) && !(end < start);
}

void TpastePlan::recheckStatic(unsigned index) const
{
    TparamCurve& target = *fTargets[index];
    if (!target.isStatic() || fClipboard[index]->isStatic()) {
        return;
    }
    unsigned const count = target.keyframeCountAll();
    for (unsigned i = 0; i < count; ++i) {
        target.checkStaticTanCondition(i);
    }
}

}  // namespace keel_clipboard

unsigned TparamCurve::pasteScale(TtimeValue const& start, TtimeValue const& end, unsigned count,
                                 TparamCurve* const* clipboard, TparamCurve* const* targets,
                                 TtimeValue const& copiedStart, TtimeValue const& copiedEnd, TpasteOption option,
                                 TpasteSettings const& settings)
{
    if (!(copiedStart < copiedEnd) || !(start < end)) {
        return 0;
    }
    std::unique_ptr<TparamCurve> copies[3];
    copiesOf(clipboard, count, copies);
    TparamCurve* scaled[3] = {};
    for (unsigned i = 0; i < count; ++i) {
        if (!copies[i]->scaleRegion(copiedStart, copiedEnd, start, end, copiedStart)) {
            return 0;
        }
        scaled[i] = copies[i].get();
    }
    return finalPaste(*this, option, start, end, count, scaled, targets, settings);
}

unsigned TparamCurve::pasteFit(TtimeValue const& start, TtimeValue const& end, unsigned count,
                               TparamCurve* const* clipboard, TparamCurve* const* targets,
                               TtimeValue const& /*copiedStart*/, TtimeValue const& /*copiedEnd*/, TpasteOption option,
                               TpasteSettings const& settings)
{
    if (end < start) {
        return 0;
    }
    TtimeValue first = clipboard[0]->timeValue(0u);
    TtimeValue last = clipboard[0]->timeValue(clipboard[0]->keyframeCountAll() - 1);
    for (unsigned i = 1; i < count; ++i) {
        unsigned const keys = clipboard[i]->keyframeCountAll();
        if (keys > 0) {
            first = std::min(first, clipboard[i]->timeValue(0u));
            last = std::max(last, clipboard[i]->timeValue(keys - 1));
        }
    }
    double const extent = (last - first).seconds();
    float const factor = extent > 0.0 ? narrowToFloat((end - start).seconds() / extent) : 1.0f;
    if (!(factor > 0.0f) && extent > 0.0) {
        return 0;  // a fit onto an instant would put every key on one time
    }
    std::unique_ptr<TparamCurve> fitted[3];
    TparamCurve* fit[3] = {};
    for (unsigned i = 0; i < count; ++i) {
        fitted[i].reset(emptyLike(*clipboard[i]));
        unsigned const keys = clipboard[i]->keyframeCountAll();
        for (unsigned k = 0; k < keys; ++k) {
            Tkeyframe key(*clipboard[i]->keyframe(k));
            key.setTime(start + (clipboard[i]->timeValue(k) - first) * factor);
            fitted[i]->add(key, false, true, true);
        }
        for (unsigned k = 0; k < fitted[i]->keyframeCountAll(); ++k) {
            fitted[i]->scaleTangentX(fitted[i]->keyframe(k), factor, true, true);
        }
        fit[i] = fitted[i].get();
    }
    return finalPaste(*this, option, start, end, count, fit, targets, settings);
}

bool TparamCurve::convertCopyResultToIndependentEuler(unsigned count, TparamCurve** curves, bool filter)
{
    if (count != 3 || curves == nullptr || curves[0] == nullptr || curves[1] == nullptr || curves[2] == nullptr ||
        !keyedInStep(curves)) {
        return false;
    }
    unsigned const keys = curves[0]->keyframeCountAll();
    std::vector<TrotateXYZ> angles;
    angles.reserve(keys);
    for (unsigned i = 0; i < keys; ++i) {
        Tquaternion const q(curves[0]->value(i), curves[1]->value(i), curves[2]->value(i),
                            curves[2]->keyframe(i)->quatComponent());
        TrotateXYZ const raw = q.convertToEulerAngles();
        angles.push_back(filter && !angles.empty() ? raw.closestTo(angles.back()) : raw);
    }
    for (unsigned axis = 0; axis < 3; ++axis) {
        curves[axis]->setRotationInterpolation(TparamCurveEnums::kEulerAngles);
    }
    for (unsigned i = 0; i < keys; ++i) {
        curves[0]->setValue(i, angles[i].fX, 1.0f);
        curves[1]->setValue(i, angles[i].fY, 1.0f);
        curves[2]->setValue(i, angles[i].fZ, 1.0f);
    }
    return true;
}
