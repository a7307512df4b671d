#pragma once

#include "curveSet.h"

#include <string>
#include <vector>

// Export to glTF 2.0: the curves of one glTF target (animation, node, path)
// become one channel again. A curve without a target becomes a node of its
// own, named after the curve, whose one morph weight it drives.
//
// Each channel takes the union of its components' key times and the
// interpolation that keeps every component's shape:
//   STEP        when every span is stepped
//   LINEAR      when every span is linear
//   CUBICSPLINE when every span is linear or Hermite: Hermite keys keep their
//               tangent slopes, linear spans get their chord's slope, and a
//               component without a key at a time gets the slope of its
//               cubic there (the cubic splits exactly)
// Anything else (weighted Bezier spans, ease spans, step-next spans, steps
// mixed with other spans, or a component whose cycling infinity would have
// to fill the channel's range) is baked: LINEAR samples at the bake rate
// plus every key time. glTF has no infinities; the channel covers the keys.
struct TexportOptions {
    double fBakeFps = 30.0;
};

// Writes the glTF (or GLB, for a .glb name) whole or not at all; `notes`
// gets one line per baked channel.
void exportGltf(TcurveSet const& curves, TexportOptions const& options, std::string const& path,
                std::vector<std::string>& notes);
