#pragma once

#include "keelanim/base/animTime.h"

#include <atomic>

class TparamCurve;

// How evaluation reaches the rotation subsystem, which stands above the
// curve: a rotation channel in a quaternion mode answers its component of
// the triple's rotation. The rotation subsystem installs the hook when the
// library loads; without it channels are evaluated curve by curve.
struct TrotationHook {
    // The channel's Euler angle at `time`; false when the triple is
    // incomplete (the curve then evaluates itself).
    using TeulerComponent = bool (*)(TparamCurve& curve, TtimeValue const& time, double& angle);
    static TeulerComponent fsEulerComponent;
    // What a new key of the channel at `time` stores so that the triple's
    // rotation there stays: its quaternion component, and the auxiliary
    // component (w on the Z channel). False for an incomplete triple.
    using TkeyComponents = bool (*)(TparamCurve& curve, TtimeValue const& time, double& value, double& aux);
    static TkeyComponents fsKeyComponents;
    // Counts the drops of Euler caches of any rotation channel: what the
    // rotation subsystem remembers between calls is valid while it stays.
    static std::atomic<unsigned> fsGeneration;
};
