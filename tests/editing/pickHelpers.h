#pragma once

#include "support/curveBuilders.h"

#include <cstdint>
#include <utility>
#include <vector>

// Builders for selection tests: picks by key index, and a list's entries as
// (stored seconds, flags) pairs.
namespace keeltest {

// A pick of key `index` with the parts `mask`; its handle is a client of the
// curve, so it follows its key through deletion and undo.
inline TpickKey pickOf(TparamCurve* curve, unsigned index, std::uint32_t mask)
{
    TpickKey pick;
    pick.create(curve, index, TbitField32(mask), true, true);
    return pick;
}

inline void addPick(TpickKeyDictionary& picks, TparamCurve* curve, unsigned index, std::uint32_t mask)
{
    TpickKey const pick = pickOf(curve, index, mask);
    picks.insert(pick.timeValue(), pick);
}

using Tentries = std::vector<std::pair<double, std::uint32_t>>;

inline Tentries entries(TpickKeyDictionary const& picks)
{
    Tentries out;
    for (TpickKeyDictionaryNode const* node = picks.first(); node != nullptr; node = node->next()) {
        out.emplace_back(node->key().seconds(), node->pick().flags().word());
    }
    return out;
}

}  // namespace keeltest
