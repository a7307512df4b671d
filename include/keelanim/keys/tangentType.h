#pragma once

#include <cstdint>

// TtangentType: how a key's tangent on one side is computed. The numbers are
// stable: files and plug-ins store them. 19 to 26 and 64 to 32767 are the
// kinds that plug-ins register.
enum TtangentType : std::int32_t {
    kTangentGlobal = 0,  // take the preference's default
    kTangentFixed = 1,
    kTangentLinear = 2,
    kTangentFlat = 3,
    kTangentSmooth = 4,  // the older smooth rule
    kTangentStep = 5,
    kTangentSlow = 6,
    kTangentFast = 7,
    kTangentOldClamped = 8,
    kTangentSpline = 9,
    kTangentClamped = 10,
    kTangentHermite = 11,  // 11 to 15 choose a segment kind for the span
    kTangentBezier = 12,
    kTangentSine = 13,
    kTangentParabolic = 14,
    kTangentLog = 15,
    kTangentPlateau = 16,
    kTangentStepNext = 17,
    kTangentAuto = 18,
    kTangentPluginFirst = 19,
    kTangentPluginLast = 26,
    kTangentPluginRangeFirst = 64,
    kTangentPluginRangeLast = 32767,
};

// True for the numbers that plug-ins own.
constexpr bool isPluginTangentType(std::int32_t type)
{
    return (type >= kTangentPluginFirst && type <= kTangentPluginLast) || type >= kTangentPluginRangeFirst;
}

// True for the types that choose the kind of the span a key starts (the
// ease kinds and the plug-ins' kinds) rather than a tangent rule.
constexpr bool choosesSpanKind(std::int32_t type)
{
    return (type >= kTangentHermite && type <= kTangentLog) || isPluginTangentType(type);
}
