#include <keelanim/keelanim.h>

#include <cstdio>
#include <cstring>

int main()
{
    TanimTimeKeyframePtrArray keys(false, 8);
    Tkeyframe late(TanimTime::fromTicks(12000), 2.0, kTangentGlobal, kTangentGlobal);
    Tkeyframe early(TanimTime::fromTicks(6000), 1.0, kTangentGlobal, kTangentGlobal);
    if (keys.insert(&late) != 0 || keys.insert(&early) != 0 || keys.at(0) != &early) {
        std::puts("installed engine misorders keys");
        return 1;
    }
    if (std::strlen(relmarkVersion()) == 0) {
        return 1;
    }
    // A curve edited inside a modification, evaluated, and undone.
    TparamCurve curve(true);
    TparamCurveDeltaUser history;
    history.beginParamCurveMod(curve);
    curve.add(Tkeyframe(0.0f, 0.0, kTangentLinear, kTangentLinear));
    curve.add(Tkeyframe(1.0f, 2.0, kTangentLinear, kTangentLinear));
    bool const recorded = history.endParamCurveMod(curve);
    if (!recorded || curve.evaluate(0.5f) != 1.0) {
        std::puts("installed engine misevaluates a linear curve");
        return 1;
    }
    history.undoPC();
    if (curve.keyframeCount() != 0) {
        std::puts("installed engine does not undo an addition");
        return 1;
    }
    std::printf("installed Keelanim %s orders, evaluates and undoes keys\n", relmarkVersion());
    return 0;
}
