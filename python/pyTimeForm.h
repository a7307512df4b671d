#pragma once

// The two forms a curve may store key times in, as Python names them
// (keelanim.TimeForm); the engine tells them by TparamCurve::isFloatCurve().
enum class TpyTimeForm { kSeconds, kTicks };
