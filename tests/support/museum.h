#pragma once

#include <keelanim/keelanim.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

// A museum of named reference curves: one per segment kind and infinity
// type, and the awkward shapes (cusp, vertical tangent, near-coincident keys,
// one key, no key). Property tests run over every exhibit.
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
        return all;
    }();
    return exhibits;
}

}  // namespace keeltest
