#include "keelanim/keys/pickParts.h"

TbitField32 mergePickParts(TbitField32 const& a, TbitField32 const& b)
{
    if (b.anyOf(kPickKeyMask)) {
        return TbitField32(kPickKeyMask);
    }
    std::uint32_t const tangents = (a.word() | b.word()) & (kPickInTangentMask | kPickOutTangentMask);
    return TbitField32(tangents);
}
