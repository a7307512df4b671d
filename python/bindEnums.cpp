// The enums, named as the keelcurve tool's curve file names them, and Ticks.

#include "bindings.h"
#include "pyErrors.h"
#include "pyTimeForm.h"

#include <keelanim/keelanim.h>

#include <pybind11/operators.h>

#include <cmath>
#include <limits>

namespace {

void bindTangentTypes(py::module_& module)
{
    py::enum_<TtangentType>(module, "TangentType",
                            "How a key's tangent on one side is computed; GLOBAL takes the preference's default.")
        .value("GLOBAL", kTangentGlobal)
        .value("FIXED", kTangentFixed)
        .value("LINEAR", kTangentLinear)
        .value("FLAT", kTangentFlat)
        .value("SMOOTH", kTangentSmooth)
        .value("STEP", kTangentStep)
        .value("SLOW", kTangentSlow)
        .value("FAST", kTangentFast)
        .value("OLD_CLAMPED", kTangentOldClamped)
        .value("SPLINE", kTangentSpline)
        .value("CLAMPED", kTangentClamped)
        .value("HERMITE", kTangentHermite)
        .value("BEZIER", kTangentBezier)
        .value("SINE", kTangentSine)
        .value("PARABOLIC", kTangentParabolic)
        .value("LOG", kTangentLog)
        .value("PLATEAU", kTangentPlateau)
        .value("STEP_NEXT", kTangentStepNext)
        .value("AUTO", kTangentAuto);
}

void bindCurveEnums(py::module_& module)
{
    py::enum_<TpyTimeForm>(module, "TimeForm", "How a curve stores key times.")
        .value("SECONDS", TpyTimeForm::kSeconds, "float seconds")
        .value("TICKS", TpyTimeForm::kTicks, "32-bit ticks, 6000 per second");
    py::enum_<TparamCurveEnums::TinfinityType>(module, "Infinity",
                                               "How a curve goes on before its first and after its last key.")
        .value("CONSTANT", TparamCurveEnums::kConstant)
        .value("LINEAR", TparamCurveEnums::kLinear)
        .value("CYCLE", TparamCurveEnums::kCycle)
        .value("CYCLE_RELATIVE", TparamCurveEnums::kCycleRelative, "cycle with offset")
        .value("OSCILLATE", TparamCurveEnums::kOscillate);
    py::enum_<TparamCurveEnums::TrotationInterpolation>(module, "RotationMode",
                                                        "How the three channels of a rotation triple are interpolated.")
        .value("EULER", TparamCurveEnums::kEulerAngles, "each channel alone")
        .value("QUATERNION_TANGENT_DEPENDENT", TparamCurveEnums::kQuaternionTangentDependent)
        .value("QUATERNION_SLERP", TparamCurveEnums::kQuaternionSlerp)
        .value("QUATERNION_CUBIC", TparamCurveEnums::kQuaternionCubic);
    py::enum_<TparamCurveModifiedMsg::TmessageType>(module, "ChangeKind", "What a change callback is told happened.")
        .value("KEY_INSERTED", TparamCurveModifiedMsg::kKeyInserted)
        .value("KEY_REMOVED", TparamCurveModifiedMsg::kKeyRemoved)
        .value("KEY_CHANGED", TparamCurveModifiedMsg::kKeyChanged, "time or value, or the curve must be redrawn")
        .value("TANGENT_CHANGED", TparamCurveModifiedMsg::kTangentChanged)
        .value("COLOR_CHANGED", TparamCurveModifiedMsg::kColorChanged)
        .value("WEIGHTING_CHANGED", TparamCurveModifiedMsg::kWeightingChanged)
        .value("LOCK_CHANGED", TparamCurveModifiedMsg::kLockChanged)
        .value("BREAKDOWN_CHANGED", TparamCurveModifiedMsg::kBreakdownChanged);
}

TanimTime ticksOf(std::int64_t ticks)
{
    if (ticks < std::numeric_limits<std::int32_t>::min() || ticks > std::numeric_limits<std::int32_t>::max()) {
        raiseValueError(std::to_string(ticks) + " ticks lie beyond the signed 32-bit range");
    }
    return TanimTime::fromTicks(static_cast<std::int32_t>(ticks));
}

TanimTime ticksOfSeconds(double seconds)
{
    return storedTimeOf(seconds, true).animTime();
}

void bindTicks(py::module_& module)
{
    py::class_<TanimTime>(module, "Ticks",
                          "A time in ticks (6000 per second), exact on a TICKS curve. Wherever a time is taken, "
                          "a float is seconds and Ticks are ticks.")
        .def(py::init(&ticksOf), py::arg("ticks"), "Ticks from a count; ValueError beyond the signed 32-bit range.")
        .def_static("from_seconds", &ticksOfSeconds, py::arg("seconds"),
                    "The nearest tick to a time in seconds; ValueError for NaN and times beyond the range.")
        .def_property_readonly("ticks", &TanimTime::ticks, "The count of ticks.")
        .def_property_readonly("seconds", &TanimTime::seconds, "The time in seconds.")
        .def("__int__", &TanimTime::ticks)
        .def("__index__", &TanimTime::ticks)
        .def("__hash__", [](TanimTime time) { return py::hash(py::int_(time.ticks())); })
        .def(py::self == py::self)
        .def(py::self < py::self)
        .def(py::self <= py::self)
        .def("__repr__", [](TanimTime time) { return "keelanim.Ticks(" + std::to_string(time.ticks()) + ")"; });
}

}  // namespace

void bindEnums(py::module_& module)
{
    bindTangentTypes(module);
    bindCurveEnums(module);
    bindTicks(module);
}
