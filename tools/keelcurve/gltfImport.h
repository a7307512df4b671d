#pragma once

#include "curveSet.h"

#include <string>
#include <vector>

// Import of glTF 2.0 animation: every channel of every animation becomes one
// engine curve per component, named NODE/PATH/COMPONENT (ANIMATION/ first
// when the file has several animations), with components x, y, z, w for
// vectors and 0, 1, ... for morph weights. Times are seconds.
//
//   LINEAR      -> linear keys (linear in- and out-types)
//   STEP        -> stepped keys
//   CUBICSPLINE -> a non-weighted curve of fixed tangents: each key's in- and
//                  out-tangent is (1, slope) with the file's tangent, which
//                  glTF gives in value per second
//
// Rotation channels come in as four per-component curves (the engine has no
// rotation curves yet); each such channel adds a warning.
struct TimportOptions {
    bool fTicks = false;  // keys in ticks (nearest tick) instead of float seconds
};

TcurveSet importGltf(std::string const& path, TimportOptions const& options, std::vector<std::string>& warnings);
