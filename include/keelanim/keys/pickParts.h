#pragma once

#include "keelanim/base/bitField.h"
#include "keelanim/base/export.h"

// The parts of a key that a pick selects, as masks of one flag word. Keys
// keep their selection in the same three bits.
inline constexpr std::uint32_t kPickKeyMask = 0x1;
inline constexpr std::uint32_t kPickInTangentMask = 0x2;
inline constexpr std::uint32_t kPickOutTangentMask = 0x4;
inline constexpr std::uint32_t kPickPartsMask = kPickKeyMask | kPickInTangentMask | kPickOutTangentMask;

// The parts by bit number, as pick flags and the tangent-type operations name
// them: the whole key, its in-tangent, its out-tangent, and a void pick.
enum TpickPart : int {
    kPickKeyBit = 0,
    kPickInTangentBit = 1,
    kPickOutTangentBit = 2,
    kPickInactiveBit = 3,
};

// Merges the picked parts `b` into `a`: picking the whole key wins outright;
// otherwise the result is the union of the tangent parts of both. The key
// part of `a` does not survive a merge with a tangent pick: adding a tangent
// to a key pick leaves a tangent pick.
KEEL_API TbitField32 mergePickParts(TbitField32 const& a, TbitField32 const& b);
