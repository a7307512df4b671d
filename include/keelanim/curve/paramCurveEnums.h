#pragma once

#include <cstdint>

// Enumerations shared by the curve and its editors.
struct TparamCurveEnums {
    // Behaviour before the first key (pre-infinity) and after the last key
    // (post-infinity). 2 is not a behaviour of its own: it is stored as 0.
    enum TinfinityType : std::int32_t {
        kConstant = 0,
        kLinear = 1,
        kCycle = 3,
        kCycleRelative = 4,  // cycle with offset
        kOscillate = 5,
    };

    // How a move treats the keys it does not move. Options other than these
    // are allowed and act as "no restriction".
    enum TmoveOption : std::int32_t {
        kMoveBetweenNeighbours = 0,  // a moved block stays between its unmoved neighbours
        kMoveRefused = 1,
        kMoveReplace = 2,  // one key may land on (and replace) an unmoved key
        kMoveReplaceBracketed = 3,
    };

    // How the three rotation channels of one rotation are interpolated.
    // Below kQuaternionTangentDependent each channel is its own curve of
    // Euler angles; from it on the triple is interpolated as a rotation.
    enum TrotationInterpolation : std::uint32_t {
        kEulerAngles = 0,
        kQuaternionTangentDependent = 3,  // per span, as the span's first key's tangents ask
        kQuaternionSlerp = 4,             // spherical-linear spans
        kQuaternionCubic = 5,             // a cubic quaternion curve through the keys
    };
};
