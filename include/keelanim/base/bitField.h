#pragma once

#include <cstdint>

// TbitField32 and TbitField64: flag words addressed by bit number.
//
// They are plain values. Bit numbers outside the word are ignored by the
// setters and read as clear, so a bad bit number never shifts out of range.

namespace keel_detail {
template <class Word> class TbitFieldOf {
public:
    static constexpr unsigned kBits = sizeof(Word) * 8;

    constexpr TbitFieldOf() = default;
    constexpr explicit TbitFieldOf(Word word) : fWord(word) {}

    constexpr bool isSet(unsigned bit) const { return bit < kBits && ((fWord >> bit) & 1u) != 0; }
    constexpr void set(unsigned bit)
    {
        if (bit < kBits)
            fWord |= Word(1) << bit;
    }
    constexpr void clear(unsigned bit)
    {
        if (bit < kBits)
            fWord &= ~(Word(1) << bit);
    }
    constexpr void setTo(unsigned bit, bool on) { on ? set(bit) : clear(bit); }

    // Mask access, for callers that speak in masks (1, 2, 4 ...).
    constexpr bool anyOf(Word mask) const { return (fWord & mask) != 0; }
    constexpr void setMask(Word mask) { fWord |= mask; }
    constexpr void clearMask(Word mask) { fWord &= ~mask; }

    constexpr Word word() const { return fWord; }
    constexpr void setWord(Word word) { fWord = word; }

    friend constexpr bool operator==(TbitFieldOf a, TbitFieldOf b) { return a.fWord == b.fWord; }

private:
    Word fWord = 0;
};
}  // namespace keel_detail

using TbitField32 = keel_detail::TbitFieldOf<std::uint32_t>;
using TbitField64 = keel_detail::TbitFieldOf<std::uint64_t>;
