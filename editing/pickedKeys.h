#pragma once

#include "editing/keyMoveSession.h"
#include "keelanim/curve/paramCurve.h"
#include "keelanim/editing/pickKey.h"
#include "keelanim/editing/pickKeyDictionary.h"

// Calls `visit(key, index, pick)` for every active pick of `picks` whose key
// is one of `curve`'s keys now, in ascending time.
template <class Visit> void forEachPickedKey(TparamCurve const& curve, TpickKeyDictionary const& picks, Visit&& visit)
{
    for (TpickKeyDictionaryNode* node = picks.first(); node != nullptr; node = node->next()) {
        TpickKey const& pick = node->pick();
        if (pick.isInactive()) {
            continue;
        }
        unsigned const index = indexOfHandle(curve, pick.handle());
        if (index != kArrayFailure) {
            visit(*curve.keyframe(index), index, pick);
        }
    }
}
