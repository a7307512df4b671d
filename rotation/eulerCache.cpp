// TparamCurve: the Euler angles of a rotation triple. A rotation has many
// Euler triples; the one answered is the one nearest the triple's own path,
// sampled per span into each key's Euler cache and unwrapped from the first
// key on, so that channels never flip between spans or across a repeated
// cycle.

#include "keelanim/curve/paramCurve.h"

#include "curve/detail/rotationHook.h"
#include "rotation/tripleKeys.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

using namespace keel_rotation;

namespace {

constexpr unsigned kSamples = Tkeyframe::kEulerSamples;

// Which of the triple `curve` is: 0, 1 or 2, or -1 for none.
int channelOf(TparamCurve const& curve, TparamCurve* const triple[3])
{
    for (int c = 0; c < 3; ++c) {
        if (triple[c] == &curve) {
            return c;
        }
    }
    return -1;
}

double component(TrotateXYZ const& angles, int channel)
{
    return channel == 0 ? angles.fX : (channel == 1 ? angles.fY : angles.fZ);
}

// The cached angle of sample `sample` of key `index`, on all three channels.
TrotateXYZ cachedSample(TparamCurve* const triple[3], unsigned index, unsigned sample)
{
    return {triple[0]->keyframe(index)->eulerSampleCache()[sample],
            triple[1]->keyframe(index)->eulerSampleCache()[sample],
            triple[2]->keyframe(index)->eulerSampleCache()[sample]};
}

TrotateXYZ operator+(TrotateXYZ const& a, TrotateXYZ const& b)
{
    return {a.fX + b.fX, a.fY + b.fY, a.fZ + b.fZ};
}

TrotateXYZ scaled(TrotateXYZ const& a, double s)
{
    return {a.fX * s, a.fY * s, a.fZ * s};
}

// The Euler angles the triple's path passes through near `seconds` (an
// infinity time repeats the keyed path, shifted by whole cycles where the
// rotation accumulates). The cache must be complete.
TrotateXYZ pathReference(TparamCurve* const triple[3], float seconds)
{
    TparamCurve const& x = *triple[0];
    unsigned const last = x.keyframeCountAll() - 1;
    float const first = x.seconds(0u);
    float const final = x.seconds(last);
    TrotateXYZ shift;
    if ((seconds < first || seconds > final) && final - first > kShortestSpan) {
        bool const before = seconds < first;
        TparamCurveEnums::TinfinityType const type = before ? x.preInfinityType() : x.postInfinityType();
        if (type == TparamCurveEnums::kCycleRelative) {
            double const cycles = std::floor((double(seconds) - first) / (double(final) - first));
            shift = scaled(cachedSample(triple, last, 0) + scaled(cachedSample(triple, 0, 0), -1.0), cycles);
        } else if (type == TparamCurveEnums::kLinear) {
            // The end span's turn, continued as the rotation continues it.
            unsigned const end = before ? 0 : last;
            unsigned const inner = before ? 1 : last - 1;
            double const span = double(x.seconds(end)) - x.seconds(inner);
            double const beyond = double(seconds) - x.seconds(end);
            double const spans = std::fabs(span) > kShortestSpan ? beyond / span : 0.0;
            shift = scaled(cachedSample(triple, end, 0) + scaled(cachedSample(triple, inner, 0), -1.0), spans);
        }
        Tquaternion offset;
        Tquaternion end;
        bool mappedBefore = before;
        TparamCurve::evaluateQuaternionInfinity(seconds, triple[0], triple[1], triple[2], offset, end, mappedBefore);
    }
    int index = 0;
    float keyTime = 0.0f;
    if (!TparamCurve::findClosestKeyframe(triple[0], triple[1], triple[2], seconds, true, &keyTime, &index, nullptr)) {
        return cachedSample(triple, 0, 0) + shift;
    }
    auto const key = static_cast<unsigned>(index);
    float const next = key < last ? x.seconds(key + 1) : keyTime;
    double const fraction = next - keyTime > kShortestSpan ? (double(seconds) - keyTime) / (next - keyTime) : 0.0;
    auto const sample = static_cast<unsigned>(std::lround(std::clamp(fraction, 0.0, 1.0) * (kSamples - 1)));
    return cachedSample(triple, key, sample) + shift;
}

// Fills key `index`'s samples on the three channels, each triple of angles
// the nearest to the one before.
void sampleSpan(TparamCurve* const triple[3], unsigned index, TrotateXYZ& previous)
{
    float const start = triple[0]->seconds(index);
    float const end = index + 1 < triple[0]->keyframeCountAll() ? triple[0]->seconds(index + 1) : start;
    std::unique_ptr<float[]> samples[3] = {std::make_unique<float[]>(kSamples), std::make_unique<float[]>(kSamples),
                                           std::make_unique<float[]>(kSamples)};
    for (unsigned s = 0; s < kSamples; ++s) {
        auto const at = static_cast<float>(start + (double(end) - start) * s / (kSamples - 1));
        previous = rotationInRange(triple, at).convertToEulerAngles().closestTo(previous);
        for (int c = 0; c < 3; ++c) {
            samples[c][s] = static_cast<float>(component(previous, c));
        }
    }
    for (int c = 0; c < 3; ++c) {
        triple[c]->keyframe(index)->setEulerSampleCache(samples[c].release());
    }
}

// The hook evaluation calls for a rotation channel in a quaternion mode.
bool eulerComponent(TparamCurve& curve, TtimeValue const& time, double& angle)
{
    bool incomplete = false;
    angle = curve.evaluateQuaternionAsEulerComponent(time, &incomplete);
    return !incomplete;
}

// The hook new keys of a channel ask for their stored components.
bool keyComponents(TparamCurve& curve, TtimeValue const& time, double& value, double& aux)
{
    TparamCurve* triple[3];
    Tquaternion const rotation = curve.evaluateQuaternion(time, &triple[0], &triple[1], &triple[2]);
    int const channel = channelOf(curve, triple);
    if (channel < 0 || !findTriple(curve, triple)) {
        return false;
    }
    double const components[3] = {rotation.x(), rotation.y(), rotation.z()};
    value = components[channel];
    aux = channel == 2 ? rotation.w() : 1.0;
    return true;
}

[[maybe_unused]] bool const sInstalled = [] {
    TrotationHook::fsEulerComponent = &eulerComponent;
    TrotationHook::fsKeyComponents = &keyComponents;
    return true;
}();

}  // namespace

bool TparamCurve::updateQuaternionEulerCache(bool force)
{
    TparamCurve* triple[3];
    return findTriple(*this, triple) && updateQuaternionEulerCache(triple, force);
}

// Dropping any sample drops the first key's (see dirtyQuaternionEulerCache):
// the unwrapping runs from the first key, so the whole triple is rebuilt.
bool TparamCurve::updateQuaternionEulerCache(TparamCurve** curves, bool force)
{
    if (curves == nullptr || curves[0] == nullptr || curves[1] == nullptr || curves[2] == nullptr ||
        curves[0]->keyframeCountAll() == 0) {
        return false;
    }
    // A complete cache was built in step, and every edit since would have
    // dropped it.
    auto const sampled = [](TparamCurve const* curve) {
        Tkeyframe const* first = curve->keyframe(0);
        return first != nullptr && first->eulerSampleCache() != nullptr;
    };
    if (!force && sampled(curves[0]) && sampled(curves[1]) && sampled(curves[2])) {
        return true;
    }
    if (!inStep(curves)) {
        return false;
    }
    Tquaternion first;
    keyRotation(curves, 0, first);
    TrotateXYZ previous = first.convertToEulerAngles();
    for (unsigned i = 0; i < curves[0]->keyframeCountAll(); ++i) {
        sampleSpan(curves, i, previous);
    }
    return true;
}

TrotateXYZ TparamCurve::evaluateQuaternionAsEuler(TtimeValue const& time)
{
    TparamCurve* triple[3];
    Tquaternion const rotation = evaluateQuaternion(time, &triple[0], &triple[1], &triple[2]);
    TrotateXYZ const angles = rotation.convertToEulerAngles();
    if (triple[0] == nullptr || triple[1] == nullptr || triple[2] == nullptr ||
        !updateQuaternionEulerCache(triple, false)) {
        return angles;
    }
    return angles.closestTo(pathReference(triple, static_cast<float>(time.seconds())));
}

namespace {

// The angles of the last rotation a thread evaluated: a host evaluates the
// three channels of a triple at one time in a row, and the rotation is the
// same for all three.
struct TlastRotation {
    TparamCurve const* fTriple[3] = {nullptr, nullptr, nullptr};
    std::uint32_t fTime = 0;
    bool fTicks = false;
    unsigned fGeneration = 0;
    TrotateXYZ fAngles;

    bool holds(TparamCurve* const triple[3], TtimeValue const& time, unsigned generation) const
    {
        return fTriple[0] == triple[0] && fTriple[1] == triple[1] && fTriple[2] == triple[2] &&
               fTime == time.rawSlot() && fTicks == time.isTicks() && fGeneration == generation;
    }
};

thread_local TlastRotation tLastRotation;

}  // namespace

double TparamCurve::evaluateQuaternionAsEulerComponent(TtimeValue const& time, bool* incomplete)
{
    TparamCurve* triple[3];
    bool const complete = findTriple(*this, triple) && updateQuaternionEulerCache(triple, false);
    // A curve its own triple does not hold has no angle of it either.
    int const channel = complete ? channelOf(*this, triple) : -1;
    if (incomplete != nullptr) {
        *incomplete = channel < 0;
    }
    if (channel < 0) {
        return 0.0;
    }
    unsigned const generation = TrotationHook::fsGeneration.load(std::memory_order_relaxed);
    if (!tLastRotation.holds(triple, time, generation)) {
        tLastRotation = {{triple[0], triple[1], triple[2]},
                         time.rawSlot(),
                         time.isTicks(),
                         generation,
                         evaluateQuaternionAsEuler(time)};
    }
    return component(tLastRotation.fAngles, channel);
}
