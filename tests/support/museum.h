#pragma once

#include <keelanim/keelanim.h>

#include "smoothstepInterpolator.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// A museum of named reference curves: one per segment kind (the example
// plug-in kind included), infinity type and computed tangent type, and the
// awkward shapes (cusp, vertical tangent, near-coincident keys, one key, no
// key). Property tests run over every exhibit.
namespace keeltest {

struct Texhibit {
    std::string fName;
    std::function<std::unique_ptr<TparamCurve>()> fBuild;
};

struct TkeySpec {
    double fTime;  // seconds
    double fValue;
    float fInX, fInY, fOutX, fOutY;
    TtangentType fIn = kTangentFixed;
    TtangentType fOut = kTangentFixed;
};

// Builds a curve from key descriptions; tangents are stored as given.
inline std::unique_ptr<TparamCurve> buildCurve(bool floatTime, bool weighted, std::vector<TkeySpec> const& keys)
{
    auto curve = std::make_unique<TparamCurve>(floatTime);
    curve->setCurveFlag(TparamCurve::kWeightedBit, weighted);
    for (TkeySpec const& k : keys) {
        Tkeyframe key = floatTime ? Tkeyframe(float(k.fTime), k.fValue, k.fIn, k.fOut)
                                  : Tkeyframe(TanimTime(k.fTime, kSeconds), k.fValue, k.fIn, k.fOut);
        key.setTanIn(k.fInX, k.fInY);
        key.setTanOut(k.fOutX, k.fOutY);
        curve->add(key, false, true);
    }
    return curve;
}

inline std::vector<TkeySpec> waveKeys()
{
    return {{0.0, 0.0, 1, 0, 1, 2}, {1.0, 2.0, 1, 1, 1, 1}, {2.5, -1.0, 1, -0.5f, 1, 0.5f}, {3.0, 1.0, 1, 3, 1, 3}};
}

// Weighted keys whose handles sit off the thirds of their spans.
inline std::vector<TkeySpec> weightedKeys()
{
    return {{0.0, 0.0, 1, 0, 0.4f, 2.5f},
            {1.0, 2.0, 2.2f, 1, 1.5f, -1},
            {2.5, -1.0, 0.3f, -0.5f, 2.0f, 0.5f},
            {3.0, 1.0, 1.2f, 3, 1, 3}};
}

// Keys for the ease kinds, whose span kind is the first key's out-tangent
// type. Their out-handles ease a third of a span in, none, and all of one
// (the handle reaches past it); the handles' values give the log kind a
// base of 2, of 1 (both handles flat, where it falls back to a straight
// progress) and of 1/3.
inline std::vector<TkeySpec> easeKeys(TtangentType spanKind)
{
    return {{0.0, 0.0, 1, 0, 2, 3, kTangentFixed, spanKind},
            {2.0, 3.0, 1, -6, 0, 0, kTangentFixed, spanKind},
            {2.5, 1.0, 1, 0, 9, 1.5f, kTangentFixed, spanKind},
            {4.0, 2.0, 1, -0.5f, 1, 0, kTangentFixed, kTangentFixed}};
}

// Keys with a peak next to a near-equal value (within the clamping
// threshold), a valley, an even stretch and a steady rise (where the
// plateau rule keeps a spline), at uneven spacing.
inline std::vector<std::pair<float, double>> computedKeys()
{
    return {{0.0f, 0.0}, {0.75f, 1.5}, {1.25f, 1.52}, {2.0f, -1.0}, {2.5f, 0.4}, {3.5f, 0.4}, {4.0f, 2.0}, {4.5f, 3.0}};
}

// Keys of one tangent type on both sides, whose tangents the curve computes.
inline std::unique_ptr<TparamCurve> computedCurve(TtangentType type, bool weighted)
{
    auto curve = std::make_unique<TparamCurve>(true);
    curve->setCurveFlag(TparamCurve::kWeightedBit, weighted);
    for (auto const& [time, value] : computedKeys()) {
        curve->add(Tkeyframe(time, value, type, type));
    }
    return curve;
}

// The example plug-in kind is registered by the build of its exhibit, and
// again after a test has emptied the registry.
inline void ensureSmoothstepKind()
{
    if (TpluginAnimCurveInterpDBase::find(kSmoothstepKind) == nullptr) {
        registerSmoothstepInterpolator();
    }
}

inline std::vector<Texhibit> const& museum()
{
    static std::vector<Texhibit> const exhibits = [] {
        std::vector<Texhibit> all;
        all.push_back({"hermite wave", [] { return buildCurve(true, false, waveKeys()); }});
        all.push_back({"hermite wave in ticks", [] { return buildCurve(false, false, waveKeys()); }});
        all.push_back({"weighted bezier", [] { return buildCurve(true, true, weightedKeys()); }});
        all.push_back({"weighted bezier in ticks", [] { return buildCurve(false, true, weightedKeys()); }});
        all.push_back({"linear spans", [] {
                           return buildCurve(true, false,
                                             {{0, 0, 0, 0, 0, 0, kTangentLinear, kTangentLinear},
                                              {1, 3, 0, 0, 0, 0, kTangentLinear, kTangentLinear},
                                              {2, -1, 0, 0, 0, 0, kTangentLinear, kTangentLinear}});
                       }});
        all.push_back({"stepped", [] {
                           return buildCurve(true, false,
                                             {{0, 1, 0, 0, 0, 0, kTangentStep, kTangentStep},
                                              {1, 4, 0, 0, 0, 0, kTangentStep, kTangentStep},
                                              {2, 2, 0, 0, 0, 0, kTangentStep, kTangentStep}});
                       }});
        all.push_back({"step next", [] {
                           return buildCurve(true, false,
                                             {{0, 1, 0, 0, 0, 0, kTangentStepNext, kTangentStepNext},
                                              {1, 4, 0, 0, 0, 0, kTangentStepNext, kTangentStepNext},
                                              {2, 2, 0, 0, 0, 0, kTangentStepNext, kTangentStepNext}});
                       }});
        all.push_back(
            {"cusp", [] {
                 return buildCurve(true, false, {{0, 0, 1, 0, 1, 0}, {1, 1, 1, 4, 1, -4}, {2, 0, 1, 0, 1, 0}});
             }});
        all.push_back({"vertical tangent", [] {
                           return buildCurve(true, true, {{0, 0, 1, 0, 0, 3}, {1, 1, 0, -3, 1, 0}, {2, 0, 1, 0, 1, 0}});
                       }});
        all.push_back({"near-coincident keys", [] {
                           return buildCurve(
                               true, false,
                               {{0, 0, 1, 1, 1, 1}, {1, 1, 1, 1, 1, 1}, {1.00002, 5, 1, 0, 1, 0}, {2, 0, 1, 0, 1, 0}});
                       }});
        all.push_back({"one key", [] { return buildCurve(true, false, {{1, 7, 1, 1, 1, 1}}); }});
        all.push_back({"no key", [] { return buildCurve(true, false, {}); }});
        for (int type : {1, 3, 4, 5}) {
            all.push_back({"infinity " + std::to_string(type), [type] {
                               auto curve = buildCurve(true, false, waveKeys());
                               curve->setPreInfinityType(static_cast<TparamCurveEnums::TinfinityType>(type));
                               curve->setPostInfinityType(static_cast<TparamCurveEnums::TinfinityType>(type));
                               return curve;
                           }});
        }
        // Out-tangent types 11, 12 and 14 make sine, parabolic and log spans.
        struct TeaseKind {
            char const* fName;
            TtangentType fSpanKind;
        };
        for (TeaseKind kind : {TeaseKind{"sine spans", kTangentHermite}, TeaseKind{"parabolic spans", kTangentBezier},
                               TeaseKind{"log spans", kTangentParabolic}}) {
            all.push_back({kind.fName, [kind] { return buildCurve(true, false, easeKeys(kind.fSpanKind)); }});
        }
        all.push_back({"smoothstep plug-in spans", [] {
                           ensureSmoothstepKind();
                           auto const smoothstep = static_cast<TtangentType>(kSmoothstepKind);
                           return buildCurve(true, false,
                                             {{0, 0, 1, 0, 1, 5, kTangentFixed, smoothstep},
                                              {1, 2, 1, 1, 1, 1},
                                              {2.5, -1, 1, -0.5f, 1, 0.5f, kTangentFixed, smoothstep},
                                              {3, 1, 1, 3, 1, 3}});
                       }});
        struct TcomputedType {
            char const* fName;
            TtangentType fType;
            bool fWeighted = false;
        };
        TcomputedType const computed[] = {
            {"linear", kTangentLinear},
            {"flat", kTangentFlat},
            {"spline", kTangentSpline},
            {"spline, weighted", kTangentSpline, true},  // the Bezier kind has its own spline rule
            {"clamped", kTangentClamped},
            {"plateau", kTangentPlateau},
            {"auto", kTangentAuto},
            {"slow", kTangentSlow},
            {"fast", kTangentFast},
            {"old smooth", kTangentSmooth},
            {"old clamped", kTangentOldClamped},
            {"step", kTangentStep},
            {"step next", kTangentStepNext},
        };
        for (TcomputedType const& type : computed) {
            all.push_back(
                {std::string("computed ") + type.fName, [type] { return computedCurve(type.fType, type.fWeighted); }});
        }
        return all;
    }();
    return exhibits;
}

}  // namespace keeltest
