#pragma once

#include "curveSet.h"

#include <string>

// The tool's curve file: JSON, described in docs/curve-format.md.
//
// Writing is deterministic: members in a fixed order, two-space indentation,
// and numbers that read back to the same bits: values (doubles) as the
// shortest decimal that round-trips, times and tangent components (floats in
// the engine) as the shortest decimal that round-trips through a float. Keys
// never hold NaN or infinities, so none is ever written. Reading what was
// written gives the same curves, and writing them again the same bytes.
//
// Reading fails (TtoolFailure) naming the file and, for a syntax error, its
// line and column, or, for a document that is JSON but not a curve file, the
// JSON pointer of the offending member (for example /curves/2/keys/5/time).

inline constexpr int kCurveFormatVersion = 1;

// The document for `curves`, ending with a line break.
std::string curvesToText(TcurveSet const& curves);
// The curves of a document; `fileName` names it in errors.
TcurveSet curvesFromText(std::string const& text, std::string const& fileName);

TcurveSet readCurveFile(std::string const& path);
// Writes the whole file or, on failure, nothing.
void writeCurveFile(std::string const& path, TcurveSet const& curves);

// The words the file uses; null for a number that has none.
char const* tangentTypeWord(TtangentType type);
char const* infinityWord(TparamCurveEnums::TinfinityType type);
