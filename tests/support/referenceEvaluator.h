#pragma once

// The leanest correct evaluator of the benchmark curves: plain sorted arrays
// of key times, values and Hermite slopes (or Bezier control points), a
// cached span index for sweeps and a binary search otherwise; each
// evaluation computes its span's cubic, as the engine does when it changes
// span. It is the physical limit the engine is measured
// against. Each evaluation is one call that the compiler cannot inline, as
// an engine evaluation is a call into the shared library.

#include <cstddef>
#include <memory>
#include <vector>

class TparamCurve;

namespace keelref {

enum class Tkind { kHermite, kBezier, kLinear, kStep };
enum class Tinfinity { kConstant, kCycle, kCycleRelative, kOscillate };

struct Tcurve {
    Tkind fKind = Tkind::kHermite;
    Tinfinity fPost = Tinfinity::kConstant;
    std::vector<double> fTimes;
    std::vector<double> fValues;
    // Per span: the Hermite slopes leaving its first key (fA) and reaching
    // its second (fB), or the Bezier control points x1, y1, x2, y2.
    std::vector<double> fA, fB, fC, fD;
    mutable std::size_t fCached = 0;
};

// A benchmark curve of `count` keys one second apart with random values
// and tangents (from `seed`), all spans of one kind; weighted curves get
// handles off the thirds of their spans.
std::unique_ptr<TparamCurve> benchCurve(unsigned count, Tkind kind, unsigned seed);

// Copies a curve of the engine whose spans are all of one kind.
Tcurve fromEngine(TparamCurve const& curve, Tkind kind);

// The value at t in seconds.
double evaluate(Tcurve const& curve, double t);

}  // namespace keelref
