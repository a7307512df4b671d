#pragma once

#include "keelanim/curve/paramCurve.h"
#include "keelanim/editing/pickKeyList.h"

// The scale of picked keys behind TparamCurve::scaleTimeAndValue: times
// about timePivot, values about valuePivot, in one change. With
// `scaleTangents` false the keys' fixed tangents keep their length in time,
// for a caller (a retime) that rescales every changed interval itself.
bool scalePickedKeys(TparamCurve& curve, TpickKeyList const& picks, float timeScale, TtimeValue const& timePivot,
                     float valueScale, double valuePivot, bool followBreakdowns, bool scaleTangents);
