#include "keelanim/editing/pickKeyList.h"

#include "keelanim/curve/paramCurve.h"
#include "keelanim/editing/keyframeHandle.h"

#include <new>

KEEL_DEFINE_METACLASS(TpickKeyList, &TpickKeyDictionaryTmeta);

namespace {
TpickKeyDictionaryNode* pickNode(TdictionaryNode* node)
{
    return dynamic_cast<TpickKeyDictionaryNode*>(node);
}
}  // namespace

// --- Construction ---------------------------------------------------------------------

TpickKeyList* TpickKeyList::construct()
{
    return new (std::nothrow) TpickKeyList();
}

TpickKeyList* TpickKeyList::constructInPlace(void* place)
{
    return place != nullptr ? new (place) TpickKeyList() : nullptr;
}

TpickKeyList::TpickKeyList(TpickKeyDictionary const& picks)
{
    insertAtCurrentTimes(picks);
}

TpickKeyList::~TpickKeyList() = default;

void TpickKeyList::insertAtCurrentTimes(TpickKeyDictionary const& picks)
{
    for (TpickKeyDictionaryNode const* node = picks.first(); node != nullptr; node = node->next()) {
        insert(node->pick().timeValue(), node->pick());
    }
}

void TpickKeyList::insertAtStoredTimes(TpickKeyDictionary const& from, TpickKeyDictionary& to)
{
    for (TpickKeyDictionaryNode const* node = from.first(); node != nullptr; node = node->next()) {
        to.insert(node->key(), node->pick());
    }
}

// --- Repair and lookup ----------------------------------------------------------------

bool TpickKeyList::updateDictionary()
{
    bool stale = false;
    TpickKeyDictionaryNode const* previous = nullptr;
    for (TpickKeyDictionaryNode const* node = first(); node != nullptr && !stale; node = node->next()) {
        TtimeValue const now = node->pick().timeValue();
        stale = now != node->key() || (previous != nullptr && now < previous->pick().timeValue());
        previous = node;
    }
    if (!stale) {
        return false;
    }
    TpickKeyList moved(*static_cast<TpickKeyDictionary const*>(this));
    reset();
    insertAtStoredTimes(moved, *this);
    return true;
}

// A descent through the skip list's levels, as the dictionary's own search.
TpickKeyDictionaryNode* TpickKeyList::lastNodeBefore(TtimeValue const& time)
{
    TdictionaryNode* at = this;
    for (int level = Tbookmark::kMaxLevels - 1; level >= 0; --level) {
        for (TpickKeyDictionaryNode* next = pickNode(at->forward(level)); next != nullptr && next->key() < time;
             next = pickNode(at->forward(level))) {
            at = next;
        }
    }
    return at == this ? nullptr : pickNode(at);
}

bool TpickKeyList::findByTime(TtimeValue const& time, TpickKeyDictionaryNode*& node)
{
    TpickKeyDictionaryNode* before = lastNodeBefore(time);
    TpickKeyDictionaryNode* candidate = before != nullptr ? before->next() : first();
    if (candidate != nullptr && candidate->key() == time) {
        node = candidate;
        return true;
    }
    node = before != nullptr ? before : first();
    return false;
}

bool TpickKeyList::findExactly(TpickKey const& pick, TpickKeyDictionaryNode*& node)
{
    node = findNode(pick.timeValue());
    return node != nullptr && node->pick() == pick;
}

// --- Merge and remove -----------------------------------------------------------------

void TpickKeyList::storeRemainder(TtimeValue const& time, TpickKey const& pick)
{
    if (pick.handle() != nullptr && pick.hasParts()) {
        insert(time, pick);
    } else {
        TpickKeyDictionary::remove(time);
    }
}

bool TpickKeyList::merge(TpickKey const& pick)
{
    TpickKeyDictionaryNode* node = nullptr;
    findByTime(pick.timeValue(), node);
    if (node == nullptr || node->pick().conflictsInTimeWith(pick) != TpickKey::kConflictInTime) {
        return false;
    }
    TtimeValue const at = node->pick().handle()->timeValue();
    TpickKey merged(node->pick(), false);
    merged.setFlagsMerge(pick);
    storeRemainder(at, merged);
    return true;
}

TpickKeyList const& TpickKeyList::walkable(TpickKeyList const& other, TpickKeyList& scratch) const
{
    if (&other != this) {
        return other;
    }
    insertAtStoredTimes(other, scratch);
    return scratch;
}

bool TpickKeyList::merge(TpickKeyList const& other)
{
    updateDictionary();
    TpickKeyList scratch;
    TpickKeyList const& picks = walkable(other, scratch);
    for (TpickKeyDictionaryNode const* node = picks.first(); node != nullptr; node = node->next()) {
        if (!merge(node->pick())) {
            insert(node->key(), node->pick());
        }
    }
    return true;
}

// The answer is false whatever was taken out: remove(list) counts these
// answers, and callers read false as "nothing left to remove".
bool TpickKeyList::remove(TpickKey const& pick)
{
    TpickKeyDictionaryNode* node = nullptr;
    findByTime(pick.timeValue(), node);
    if (node == nullptr) {
        return false;
    }
    TpickKey const& found = node->pick();
    if (found.conflictsInTimeWith(pick) != TpickKey::kConflictInTime || !found.isLive()) {
        return false;
    }
    TpickKey rest;
    if (rest.create(*found.handle(), found.flags(), false, false) != 0) {
        return false;
    }
    TtimeValue const at = found.timeValue();
    rest.setFlagsDifference(pick);
    storeRemainder(at, rest);
    return false;
}

bool TpickKeyList::remove(TpickKeyList const& other)
{
    updateDictionary();
    TpickKeyList scratch;
    TpickKeyList const& picks = walkable(other, scratch);
    bool anyAnswer = false;
    for (TpickKeyDictionaryNode const* node = picks.first(); node != nullptr; node = node->next()) {
        anyAnswer = !remove(node->pick()) || anyAnswer;
    }
    return anyAnswer;
}

// --- Set operations into out ----------------------------------------------------------

TpickKeyList& TpickKeyList::gatherInto(TpickKeyList& out, TpickKeyList const& other, TpickKeyList& scratch) const
{
    return (&out == this || &out == &other) ? scratch : out;
}

bool TpickKeyList::handOver(TpickKeyList& gathered, TpickKeyList& out, bool replace)
{
    if (&gathered != &out) {
        if (replace) {
            out.reset();
        }
        insertAtStoredTimes(gathered, out);
    }
    return !out.empty();
}

void TpickKeyList::intersectInto(TpickKey const& pick, TpickKeyList& into) const
{
    for (TpickKeyDictionaryNode const* node = first(); node != nullptr; node = node->next()) {
        TpickKey const& mine = node->pick();
        TpickKey common;
        if (mine.conflictsInTimeWith(pick) != TpickKey::kConflictInTime ||
            common.create(*mine.handle(), mine.flags(), false, false) != 0) {
            continue;
        }
        common.setFlagsIntersection(pick);
        into.insert(common.timeValue(), common);
    }
}

bool TpickKeyList::getIntersection(TpickKey const& pick, TpickKeyList& out) const
{
    TpickKeyList scratch;
    TpickKeyList& into = gatherInto(out, out, scratch);
    intersectInto(pick, into);
    return handOver(into, out, false);
}

bool TpickKeyList::getIntersection(TpickKeyList const& other, TpickKeyList& out) const
{
    TpickKeyList scratch;
    TpickKeyList& into = gatherInto(out, other, scratch);
    into.reset();
    for (TpickKeyDictionaryNode const* node = other.first(); node != nullptr; node = node->next()) {
        intersectInto(node->pick(), into);
    }
    return handOver(into, out, true);
}

bool TpickKeyList::holdsEqual(TpickKeyList const& picks, TpickKey const& pick)
{
    for (TpickKeyDictionaryNode const* node = picks.first(); node != nullptr; node = node->next()) {
        if (pick == node->pick()) {
            return true;
        }
    }
    return false;
}

bool TpickKeyList::getDifference(TpickKeyList const& other, TpickKeyList& out) const
{
    TpickKeyList scratch;
    TpickKeyList& into = gatherInto(out, other, scratch);
    into.reset();
    // Deliberately never cleared: the first pick found in `other` ends the
    // difference, and callers depend on that cut-off.
    bool foundInOther = false;
    for (TpickKeyDictionaryNode const* node = first(); node != nullptr; node = node->next()) {
        foundInOther = foundInOther || holdsEqual(other, node->pick());
        if (!foundInOther) {
            into.insert(node->pick().timeValue(), node->pick());
        }
    }
    return handOver(into, out, true);
}

bool TpickKeyList::conflictsWithAny(TpickKeyList const& picks, TpickKey const& pick)
{
    for (TpickKeyDictionaryNode const* node = picks.first(); node != nullptr; node = node->next()) {
        if (pick.conflictsInTimeWith(node->pick()) == TpickKey::kConflictInTime) {
            return true;
        }
    }
    return false;
}

bool TpickKeyList::intersects(TpickKeyList const& other) const
{
    for (TpickKeyDictionaryNode const* node = first(); node != nullptr; node = node->next()) {
        if (conflictsWithAny(other, node->pick())) {
            return true;
        }
    }
    return false;
}

bool TpickKeyList::getConflicts(TpickKeyList const& other, TpickKeyList& out) const
{
    TpickKeyList scratch;
    TpickKeyList& into = gatherInto(out, other, scratch);
    for (TpickKeyDictionaryNode const* node = first(); node != nullptr; node = node->next()) {
        if (conflictsWithAny(other, node->pick())) {
            into.insert(node->pick().timeValue(), node->pick());
        }
    }
    return handOver(into, out, false);
}

// --- Ranges ---------------------------------------------------------------------------

bool TpickKeyList::timeRange(TtimeValue& firstTime, TtimeValue& lastTime) const
{
    bool found = false;
    for (TpickKeyDictionaryNode const* node = first(); node != nullptr; node = node->next()) {
        if (!node->pick().isLive()) {
            continue;
        }
        lastTime = node->pick().timeValue();
        if (!found) {
            firstTime = lastTime;
            found = true;
        }
    }
    return found;
}

bool TpickKeyList::insertRange(TparamCurve* curve, TtimeValue const& from, TtimeValue const& to)
{
    if (curve == nullptr || !curve->canSelect()) {
        return false;
    }
    unsigned firstIndex = 0;
    unsigned endIndex = 0;  // one past the last key in the range
    curve->find(from, firstIndex);
    endIndex = curve->find(to, endIndex) ? endIndex + 1 : endIndex;
    bool const wasEmpty = empty();
    for (unsigned index = firstIndex; index < endIndex; ++index) {
        TpickKey whole;
        whole.create(curve, index, TbitField32(kPickKeyMask), true, false);
        if (wasEmpty || !merge(whole)) {
            insert(whole.timeValue(), whole);
        }
    }
    return true;
}
