// TparamCurve: a rotation triple evaluated as one rotation. The keys hold
// quaternions (x, y, z on the three curves, w on the Z key); between keys
// the rotation is interpolated on the sphere, beyond them it repeats by the
// X curve's infinity types.

#include "keelanim/curve/paramCurve.h"

#include "curve/detail/editKit.h"
#include "rotation/tripleKeys.h"

#include <algorithm>
#include <cmath>
#include <set>

using namespace keel_rotation;

namespace keel_rotation {

bool findTriple(TparamCurve const& curve, TparamCurve* triple[3])
{
    triple[0] = triple[1] = triple[2] = nullptr;
    if (!curve.getSiblingRotationCurves(&triple[0], &triple[1], &triple[2])) {
        triple[0] = triple[1] = triple[2] = nullptr;
        return false;
    }
    return std::all_of(triple, triple + 3, [](TparamCurve const* channel) {
        return channel != nullptr && channel->keyframeCountAll() > 0;
    });
}

bool keyRotation(TparamCurve* const triple[3], unsigned index, Tquaternion& rotation)
{
    Tkeyframe const* x = triple[0]->keyframe(index);
    Tkeyframe const* y = triple[1]->keyframe(index);
    Tkeyframe const* z = triple[2]->keyframe(index);
    if (x == nullptr || y == nullptr || z == nullptr || !(*x == *y) || !(*x == *z)) {
        return false;
    }
    rotation = Tquaternion(x->value(), y->value(), z->value(), z->quatComponent());
    return true;
}

bool inStep(TparamCurve* const triple[3])
{
    unsigned const count = triple[0]->keyframeCountAll();
    if (triple[1]->keyframeCountAll() != count || triple[2]->keyframeCountAll() != count) {
        return false;
    }
    for (unsigned i = 0; i < count; ++i) {
        Tkeyframe const* x = triple[0]->keyframe(i);
        if (!(*x == *triple[1]->keyframe(i)) || !(*x == *triple[2]->keyframe(i))) {
            return false;
        }
    }
    return true;
}

namespace {

// The key of a span that decides how mode 3 interpolates it: the stored
// rotation at either end, a line on the sphere, or the cubic curve.
enum class TspanRule { kFirst, kSecond, kSlerp, kCubic };

TspanRule tangentDependentRule(Tkeyframe const& first, double seconds, double t0, double t1)
{
    Tkeyframe::TspanInterpMethod const method = first.interpMethod();
    TtangentType const out = first.tanOutType();  // reads as stepped while blocking overrides
    if (seconds < t0 || method == Tkeyframe::kInterpStep || out == kTangentStep) {
        return TspanRule::kFirst;
    }
    if (seconds > t1 || method == Tkeyframe::kInterpStepNext || out == kTangentStepNext) {
        return TspanRule::kSecond;
    }
    if (method == Tkeyframe::kInterpLinear || out == kTangentLinear) {
        return TspanRule::kSlerp;
    }
    return TspanRule::kCubic;
}

// The rotation of the key next to a span's end on one side, or the end's
// own when there is none.
Tquaternion neighbourRotation(TparamCurve* const triple[3], float seconds, bool before, Tquaternion const& own)
{
    int index = -1;
    Tquaternion rotation = own;
    if (TparamCurve::findClosestKeyframe(triple[0], triple[1], triple[2], seconds, before, nullptr, &index, nullptr)) {
        keyRotation(triple, static_cast<unsigned>(index), rotation);
    }
    return rotation;
}

Tquaternion cubicSpan(TparamCurve* const triple[3], float t0, float t1, Tquaternion const& q0, Tquaternion const& q1,
                      double fraction)
{
    Tquaternion const previous = neighbourRotation(triple, t0 - kOneTick, true, q0);
    Tquaternion const next = neighbourRotation(triple, t1 + kOneTick, false, q1);
    return bezier(q0, bezierPt(previous, q0, q1, true), bezierPt(q0, q1, next, false), q1, fraction);
}

}  // namespace

Tquaternion rotationInRange(TparamCurve* const triple[3], float seconds)
{
    float t0 = 0.0f;
    int i0 = 0;
    Tkeyframe* first = nullptr;
    Tquaternion q0;
    Tquaternion q1;
    if (!TparamCurve::findClosestKeyframe(triple[0], triple[1], triple[2], seconds, true, &t0, &i0, &first)) {
        i0 = 0;
        t0 = triple[0]->seconds(0u);
        first = triple[0]->keyframe(0);
    }
    // The span's second key is the next one (a time a tick short of it
    // still lies in this span).
    int const i1 = std::min(i0 + 1, static_cast<int>(triple[0]->keyframeCountAll()) - 1);
    float const t1 = triple[0]->seconds(static_cast<unsigned>(i1));
    if (!keyRotation(triple, unsigned(i0), q0) || !keyRotation(triple, unsigned(i1), q1)) {
        return Tquaternion::identity;
    }
    double const fraction = std::fabs(double(t1) - t0) <= kShortestSpan ? 1.0 : (double(seconds) - t0) / (t1 - t0);
    switch (triple[0]->rotationInterpolation()) {
    case TparamCurveEnums::kQuaternionSlerp: return slerp(q0, q1, fraction);
    case TparamCurveEnums::kQuaternionCubic: return cubicSpan(triple, t0, t1, q0, q1, fraction);
    default: break;
    }
    switch (tangentDependentRule(*first, seconds, t0, t1)) {
    case TspanRule::kFirst: return Tquaternion(q0).normalizeIt();
    case TspanRule::kSecond: return Tquaternion(q1).normalizeIt();
    case TspanRule::kSlerp: return slerp(q0, q1, fraction);
    case TspanRule::kCubic: break;
    }
    return cubicSpan(triple, t0, t1, q0, q1, fraction);
}

}  // namespace keel_rotation

// --- The setting ---------------------------------------------------------------------------

bool TparamCurve::setRotationInterpolation(TparamCurveEnums::TrotationInterpolation mode)
{
    if (mode > TparamCurveEnums::kQuaternionCubic) {
        return false;
    }
    TchangeScope change(*this, kChangeNothing);
    if (!change.open()) {
        return false;
    }
    if (TcurveEditRecorder* recorder = TcurveEditKit::recorder(*this);
        recorder != nullptr && mode != fRotationInterpolation) {
        record(recorder->rotationInterpolationChanged(*this, fRotationInterpolation, mode));
    }
    fRotationInterpolation = mode;
    invalidateCache();
    dirtyQuaternionEulerCache(-1);
    change.modified();
    return true;
}

// --- Keys of the triple ----------------------------------------------------------------------

bool TparamCurve::findClosestKeyframe(TparamCurve* x, TparamCurve* y, TparamCurve* z, float time, bool before,
                                      float* keyTime, int* index, Tkeyframe** key)
{
    if (x == nullptr || y == nullptr || z == nullptr || x->keyframeCountAll() == 0 || std::isnan(time)) {
        return false;
    }
    unsigned at = 0;
    bool const exact = x->find(TtimeValue(time), at);
    if (before && !exact) {
        if (at == 0) {
            return false;
        }
        --at;
    }
    if (at >= x->keyframeCountAll()) {
        return false;
    }
    if (keyTime != nullptr) {
        *keyTime = x->seconds(at);
    }
    if (index != nullptr) {
        *index = static_cast<int>(at);
    }
    if (key != nullptr) {
        *key = x->keyframe(at);
    }
    return true;
}

bool TparamCurve::syncroniseCurvesInTime(TparamCurve** curves, unsigned count)
{
    if (curves == nullptr) {
        return false;
    }
    std::set<TtimeValue, bool (*)(TtimeValue const&, TtimeValue const&)> times(
        [](TtimeValue const& a, TtimeValue const& b) { return a.seconds() < b.seconds() - kTimeTolerance; });
    for (unsigned c = 0; c < count; ++c) {
        for (unsigned i = 0; curves[c] != nullptr && i < curves[c]->keyframeCountAll(); ++i) {
            times.insert(curves[c]->timeValue(i));
        }
    }
    bool all = true;
    for (unsigned c = 0; c < count; ++c) {
        for (TtimeValue const& time : times) {
            unsigned at = 0;
            if (curves[c] != nullptr && !curves[c]->find(time, at)) {
                all = curves[c]->insert(time, false, false) && all;
            }
        }
    }
    return all;
}

bool TparamCurve::moveKeyframe(unsigned index, TtimeValue time, Tquaternion const& rotation,
                               TparamCurveEnums::TmoveOption option, bool record)
{
    TparamCurve* triple[3];
    Tquaternion current;
    if (!findTriple(*this, triple) || !keyRotation(triple, index, current)) {
        return false;
    }
    Tquaternion const q = Tquaternion(rotation).normalizeIt();
    double const components[3] = {q.x(), q.y(), q.z()};
    bool moved = false;
    for (unsigned c = 0; c < 3; ++c) {
        Tkeyframe* key = triple[c]->keyframe(index);
        double const second = c == 2 ? q.w() : key->quatComponent();
        moved = triple[c]->moveKeyframeHelper(key, index, time, components[c], second, option, record) || moved;
    }
    return moved;
}

// --- Evaluation --------------------------------------------------------------------------------

bool TparamCurve::evaluateQuaternionInfinity(float& time, TparamCurve* x, TparamCurve* y, TparamCurve* z,
                                             Tquaternion& offset, Tquaternion& end, bool& before)
{
    TparamCurve* const triple[3] = {x, y, z};
    if (x == nullptr || y == nullptr || z == nullptr || x->keyframeCountAll() == 0 || std::isnan(time)) {
        return false;
    }
    unsigned const last = x->keyframeCountAll() - 1;
    float const first = x->seconds(0u);
    float const final = x->seconds(last);
    before = time < first;
    if (!before && !(time > final)) {
        return false;
    }
    if (!std::isfinite(time)) {
        time = before ? first : final;  // no repetition reaches an infinite time
        offset = Tquaternion::identity;
        keyRotation(triple, before ? 0 : last, end);
        return true;
    }
    Tquaternion firstRotation;
    Tquaternion lastRotation;
    if (!keyRotation(triple, 0, firstRotation) || !keyRotation(triple, last, lastRotation)) {
        return false;
    }
    end = before ? firstRotation : lastRotation;
    offset = Tquaternion::identity;
    double const range = double(final) - first;
    TparamCurveEnums::TinfinityType const type = before ? x->preInfinityType() : x->postInfinityType();
    if (type == TparamCurveEnums::kConstant || range <= kShortestSpan) {
        time = before ? first : final;
        return true;
    }
    if (type == TparamCurveEnums::kLinear) {
        // The end span's turn, continued at its own rate.
        unsigned const inner = before ? 1 : last - 1;
        Tquaternion innerRotation;
        keyRotation(triple, inner, innerRotation);
        double const span = std::fabs(double(x->seconds(inner)) - (before ? first : final));
        Tquaternion const step =
            before ? innerRotation.inverse() * firstRotation : Tquaternion(innerRotation).invertIt() * lastRotation;
        double const beyond = before ? double(first) - time : double(time) - final;
        offset = step.pow(span > kShortestSpan ? beyond / span : 0.0);
        time = before ? first : final;
        return true;
    }
    double const cycles = std::floor((double(time) - first) / range);
    double const local = double(time) - first - cycles * range;
    bool const mirrored = type == TparamCurveEnums::kOscillate && std::fmod(std::fabs(cycles), 2.0) == 1.0;
    time = static_cast<float>(mirrored ? final - local : first + local);
    if (type == TparamCurveEnums::kCycleRelative) {
        // Each repetition starts where the one before ended.
        offset = (Tquaternion(firstRotation).invertIt() * lastRotation).pow(cycles);
    }
    return true;
}

Tquaternion TparamCurve::evaluateQuaternion(TtimeValue const& time, TparamCurve** x, TparamCurve** y, TparamCurve** z)
{
    TparamCurve* triple[3];
    bool const complete = findTriple(*this, triple);
    for (auto [out, channel] : {std::pair{x, triple[0]}, {y, triple[1]}, {z, triple[2]}}) {
        if (out != nullptr) {
            *out = channel;
        }
    }
    if (!complete) {
        return Tquaternion::identity;
    }
    unsigned at = 0;
    Tquaternion rotation;
    if (triple[0]->find(time, at) && keyRotation(triple, at, rotation)) {
        return rotation.normalizeIt();
    }
    auto seconds = static_cast<float>(time.seconds());
    Tquaternion offset;
    Tquaternion end;
    bool before = false;
    bool const beyond = evaluateQuaternionInfinity(seconds, triple[0], triple[1], triple[2], offset, end, before);
    rotation = rotationInRange(triple, seconds);
    return beyond ? rotation * offset : rotation;
}
