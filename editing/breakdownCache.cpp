// TparamCurve: the breakdown cache. A breakdown key keeps its time as a
// proportion of the interval between its nearest non-breakdown neighbours;
// while a move or a scale shifts those neighbours, the cache remembers the
// proportion and re-times the breakdown keys to keep it.

#include "keelanim/curve/paramCurve.h"

#include "editing/keyMoveSession.h"
#include "editing/pickedKeys.h"

namespace {

// The nearest non-breakdown key from `index` in `step` direction (+1 or
// -1), or TbreakdownData::kNoNeighbour.
unsigned nonBreakdownFrom(TparamCurve const& curve, unsigned index, int step)
{
    for (unsigned i = index + step; i < curve.keyframeCountAll(); i += step) {
        if (!curve.keyframe(i)->breakdown()) {
            return i;
        }
    }
    return TbreakdownData::kNoNeighbour;
}

TbreakdownDataPtrArray* cacheOf(TparamCurve const& curve)
{
    auto const* session = TkeyMoveSession::of(curve);
    return session != nullptr ? const_cast<TbreakdownDataPtrArray*>(&session->fBreakdowns) : nullptr;
}

// Caches the breakdown keys that lie next to key `index` on either side,
// up to the next non-breakdown key: their proportion depends on it.
void cacheBreakdownsBeside(TparamCurve& curve, unsigned index)
{
    for (int step : {-1, 1}) {
        for (unsigned i = index + step; i < curve.keyframeCountAll() && curve.keyframe(i)->breakdown(); i += step) {
            TkeyframeHandle const handle(&curve, i, false);
            curve.addBreakdownData(&handle);
        }
    }
}

}  // namespace

TbreakdownData* TparamCurve::getBreakdownData(unsigned index) const
{
    Tkeyframe const* key = keyframe(index);
    if (key == nullptr || !key->breakdown()) {
        return nullptr;
    }
    return new TbreakdownData(this, nonBreakdownFrom(*this, index, -1), index, nonBreakdownFrom(*this, index, 1));
}

TbreakdownData* TparamCurve::findBreakdownData(unsigned index) const
{
    TbreakdownDataPtrArray const* cache = cacheOf(*this);
    Tkeyframe const* key = keyframe(index);
    if (cache == nullptr || key == nullptr) {
        return nullptr;
    }
    for (TbreakdownData* record : *cache) {
        if (record->key() != nullptr && record->key()->keyframe() == key) {
            return record;
        }
    }
    return nullptr;
}

TbreakdownData* TparamCurve::addBreakdownData(TkeyframeHandle const* key)
{
    unsigned const index = indexOfHandle(*this, key);
    if (index == kArrayFailure) {
        return nullptr;
    }
    if (TbreakdownData* cached = findBreakdownData(index)) {
        return cached;
    }
    TbreakdownData* record = getBreakdownData(index);
    if (record != nullptr) {
        TkeyMoveSession::of(*this, true)->fBreakdowns.addLast(record);
    }
    return record;
}

void TparamCurve::getAffectedBreakdowns(TkeyframeHandlePtrArray const& handles)
{
    for (TkeyframeHandle const* handle : handles) {
        unsigned const index = indexOfHandle(*this, handle);
        if (index != kArrayFailure && !keyframe(index)->breakdown()) {
            cacheBreakdownsBeside(*this, index);
        }
    }
}

void TparamCurve::getAffectedBreakdowns(TpickKeyDictionary const& picks)
{
    forEachPickedKey(*this, picks, [&](Tkeyframe& key, unsigned index, TpickKey const&) {
        if (!key.breakdown()) {
            cacheBreakdownsBeside(*this, index);
        }
    });
}

// A following breakdown goes where its neighbours are about to be: at the
// targets of neighbours that move, at the times of those that stay.
void TparamCurve::adjustBreakdownData(TmoveKeyDataPtrList& list)
{
    auto destination = [&list](TkeyframeHandle const* neighbour) {
        if (neighbour == nullptr) {
            return 0.0;
        }
        TmoveKeyData const* moving = list.findKey(neighbour->keyframe());
        return moving != nullptr && moving->fMoved ? moving->fTarget.seconds() : neighbour->seconds();
    };
    for (TmoveKeyData* record : list) {
        TbreakdownData const* breakdown = record->fBreakdown;
        if (record->fValid && !record->fMoved && breakdown != nullptr) {
            record->fTarget =
                breakdown->desiredTimeBetween(this, destination(breakdown->previous()), destination(breakdown->next()));
        }
    }
}

void TparamCurve::applyBreakdownCache()
{
    TbreakdownDataPtrArray const* cache = cacheOf(*this);
    if (cache == nullptr) {
        return;
    }
    for (TbreakdownData const* record : *cache) {
        unsigned const index = indexOfHandle(*this, record->key());
        if (index != kArrayFailure) {
            retimeKey(index, record->getDesiredTime(this));
        }
    }
}

void TparamCurve::flushBreakdownCache()
{
    if (TkeyMoveSession* session = TkeyMoveSession::of(*this, false)) {
        session->flushBreakdowns();
    }
}
