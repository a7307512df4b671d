#pragma once

// Change masks of the tangent edits: which key parameters each touches, as
// the change bracket and a host's channel locks read them.
namespace keel_tangents {

inline constexpr unsigned kLockMask = 256;
inline constexpr unsigned kWeightLockMask = 2048;
inline constexpr unsigned kSetInMask = 24;
inline constexpr unsigned kSetOutMask = 192;
inline constexpr unsigned kSetLockedMask = 216;
inline constexpr unsigned kDragInMask = 28;
inline constexpr unsigned kDragInLockedMask = 220;
inline constexpr unsigned kDragOutMask = 224;
inline constexpr unsigned kDragOutLockedMask = 248;

}  // namespace keel_tangents
