#pragma once

#include <charconv>
#include <cstdio>
#include <string>

// The golden baseline of the museum (tests/data/museumGolden.txt), as the
// generator writes it and the golden-value test reads it: each exhibit
// sampled every fortieth of a second from -3 s to 7 s, one line per sample.
// Both texts read back to the very bits they were printed from: times are
// the shortest text of their float, values are printed with %.17g.
namespace keeltest {

inline constexpr int kGoldenFirstSample = -120;
inline constexpr int kGoldenSamplesPerCurve = 401;
inline constexpr char kGoldenCurvePrefix[] = "# curve: ";

inline float goldenSampleTime(int sample)
{
    return float(kGoldenFirstSample + sample) / 40.0f;
}

inline std::string goldenTimeText(float time)
{
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, time).ptr);
}

inline std::string goldenValueText(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

}  // namespace keeltest
