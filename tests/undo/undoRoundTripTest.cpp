// Undo loses nothing: random edits recorded in one or several modifications
// undo to the exact curve they started from and redo to the exact edited one.

#include "support/museum.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Everything undo must restore: per key, time, value, tangents, types and
// flags other than selection; per curve, infinities and weighting.
std::string stateOf(TparamCurve const& curve)
{
    std::ostringstream out;
    out.precision(17);
    out << curve.preInfinityType() << ' ' << curve.postInfinityType() << ' ' << curve.isWeighted() << '\n';
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        Tkeyframe const* key = curve.keyframe(i);
        float ix = 0, iy = 0, ox = 0, oy = 0;
        key->getTanIn(ix, iy);
        key->getTanOut(ox, oy);
        out << key->timeValue().rawSlot() << ' ' << key->value() << ' ' << ix << ' ' << iy << ' ' << ox << ' ' << oy
            << ' ' << key->storedTanInType() << ' ' << key->storedTanOutType() << ' '
            << (key->flags().word() & ~std::uint64_t(kPickPartsMask)) << ' ' << key->quatComponent() << '\n';
    }
    return out.str();
}

class TrandomEditor {
public:
    explicit TrandomEditor(unsigned seed) : fRandom(seed) {}

    TtangentType anyType()
    {
        static TtangentType const types[] = {kTangentFixed,  kTangentLinear,   kTangentFlat,   kTangentStep,
                                             kTangentSlow,   kTangentFast,     kTangentSpline, kTangentClamped,
                                             kTangentAuto,   kTangentStepNext, kTangentSmooth, kTangentOldClamped,
                                             kTangentPlateau};
        return types[fRandom() % std::size(types)];
    }

    Tkeyframe anyKey(TparamCurve const& curve)
    {
        std::uniform_real_distribution<float> time(0.0f, 10.0f);
        std::uniform_real_distribution<double> value(-4.0, 4.0);
        float const t = float(int(time(fRandom) * 24.0f)) / 24.0f;  // frames, so keys meet again
        Tkeyframe key = curve.isFloatCurve() ? Tkeyframe(t, value(fRandom), anyType(), anyType())
                                             : Tkeyframe(TanimTime(t, kSeconds), value(fRandom), anyType(), anyType());
        key.setTanIn(1.0f, float(value(fRandom)));
        key.setTanOut(1.0f, float(value(fRandom)));
        return key;
    }

    void edit(TparamCurve& curve)
    {
        unsigned const n = curve.keyframeCount();
        unsigned const at = n > 0 ? unsigned(fRandom() % n) : 0;
        switch (fRandom() % 11) {
        case 0: curve.add(anyKey(curve)); break;
        case 1: curve.insert(anyKey(curve), false, false); break;
        case 2: curve.insertKey(anyKey(curve), false); break;
        case 3: curve.insertKey(anyKey(curve), true); break;
        case 4: {
            TanimTimeArray times;
            TdoubleArray values;
            for (int k = 0; k < 4; ++k) {
                Tkeyframe const key = anyKey(curve);
                times.addLast(key.isTickTime() ? key.animTime() : TanimTime(key.floatTime(), kSeconds));
                values.addLast(key.value());
            }
            curve.blockAdd(times, values, anyType(), anyType());
            break;
        }
        case 5: curve.remove(at); break;
        case 6: {
            Tkeyframe* old = curve.keyframe(at);
            if (old != nullptr) {
                Tkeyframe replacement(*old);
                replacement.setValue(old->value() + 1.0);
                replacement.setTanOutType(anyType());
                curve.replaceKey(old, replacement);
            }
            break;
        }
        case 7: curve.setPreInfinityType(static_cast<TparamCurveEnums::TinfinityType>(fRandom() % 7)); break;
        case 8: curve.setPostInfinityType(static_cast<TparamCurveEnums::TinfinityType>(fRandom() % 7)); break;
        case 9: curve.setBreakdown(at, fRandom() % 2 == 0); break;
        default: curve.setIsWeighted(!curve.isWeighted()); break;
        }
    }

    std::mt19937& random() { return fRandom; }

private:
    std::mt19937 fRandom;
};

std::unique_ptr<TparamCurve> randomCurve(TrandomEditor& editor, bool floatTime)
{
    auto curve = std::make_unique<TparamCurve>(floatTime);
    curve->setCurveFlag(TparamCurve::kWeightedBit, editor.random()() % 2 == 0);
    unsigned const keys = editor.random()() % 6;
    for (unsigned i = 0; i < keys; ++i) {
        curve->add(editor.anyKey(*curve));
    }
    return curve;
}

// The museum's awkward shapes come first, then random curves of both forms.
TEST(UndoRoundTrip, TenThousandSequencesUndoAndRedoExactly)
{
    constexpr int kSequences = 10000;
    auto const& museum = keeltest::museum();
    TrandomEditor editor(2026);
    for (int sequence = 0; sequence < kSequences; ++sequence) {
        auto curve =
            std::size_t(sequence) < museum.size() ? museum[sequence].fBuild() : randomCurve(editor, sequence % 2 == 0);
        std::string const original = stateOf(*curve);
        TparamCurveDeltaUser user;
        unsigned const modifications = 1 + editor.random()() % 3;
        for (unsigned m = 0; m < modifications; ++m) {
            user.beginParamCurveMod(*curve);
            unsigned const edits = 1 + editor.random()() % 6;
            for (unsigned e = 0; e < edits; ++e) {
                editor.edit(*curve);
            }
            user.endParamCurveMod(*curve);
        }
        std::string const edited = stateOf(*curve);
        user.undoPC();
        ASSERT_EQ(stateOf(*curve), original) << "sequence " << sequence << " undo";
        user.redoPC();
        ASSERT_EQ(stateOf(*curve), edited) << "sequence " << sequence << " redo";
        user.undoPC();
        ASSERT_EQ(stateOf(*curve), original) << "sequence " << sequence << " second undo";
    }
}

TEST(UndoRoundTrip, StepsOfTwoCurvesUndoTogether)
{
    TrandomEditor editor(7);
    for (int sequence = 0; sequence < 200; ++sequence) {
        auto a = randomCurve(editor, true);
        auto b = randomCurve(editor, false);
        std::string const aBefore = stateOf(*a);
        std::string const bBefore = stateOf(*b);
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*a);
        user.beginParamCurveMod(*b);
        for (int e = 0; e < 5; ++e) {
            editor.edit(*a);
            editor.edit(*b);
        }
        user.endParamCurveMod(*a);
        user.endParamCurveMod(*b);
        user.undoPC();
        ASSERT_EQ(stateOf(*a), aBefore) << sequence;
        ASSERT_EQ(stateOf(*b), bBefore) << sequence;
    }
}

}  // namespace
