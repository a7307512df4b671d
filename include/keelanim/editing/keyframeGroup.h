#pragma once

#include "keelanim/base/array.h"
#include "keelanim/base/export.h"

#include <cstdint>

// TkeyframeGroup: a group of keys that editors gather under one key, an
// integer (a frame, a channel number) or a real time in seconds; the rest of
// a group's fields are the editor's bookkeeping and the engine reads none.
class KEEL_API TkeyframeGroup {
public:
    // Keyed by the integer 0; state 3, everything else zero.
    TkeyframeGroup() = default;
    explicit TkeyframeGroup(int key) : fIntKey(key) {}
    explicit TkeyframeGroup(double key) : fRealKey(key), fIsReal(1) {}
    TkeyframeGroup(TkeyframeGroup const&) = default;
    TkeyframeGroup& operator=(TkeyframeGroup const&) = default;
    virtual ~TkeyframeGroup();

    bool isReal() const { return fIsReal != 0; }
    int intKey() const { return fIntKey; }
    double realKey() const { return fRealKey; }
    double secondReal() const { return fSecondReal; }
    void setSecondReal(double value) { fSecondReal = value; }
    unsigned firstCount() const { return fFirstCount; }
    unsigned secondCount() const { return fSecondCount; }
    void setCounts(unsigned first, unsigned second)
    {
        fFirstCount = first;
        fSecondCount = second;
    }
    std::int32_t state() const { return fState; }
    void setState(std::int32_t state) { fState = state; }

    // Groups order by the probe's kind of key: a real probe compares real
    // keys, an integer probe integer keys. -1, 0 or 1 as `probe` orders
    // before, with or after `group`.
    static int compare(TkeyframeGroup const& probe, TkeyframeGroup const& group);

private:
    std::int32_t fIntKey = 0;
    double fRealKey = 0.0;
    std::uint16_t fIsReal = 0;
    double fSecondReal = 0.0;
    unsigned fFirstCount = 0;
    unsigned fSecondCount = 0;
    std::int32_t fState = 3;
};

// Groups sorted by key (TkeyframeGroup::compare). The array holds pointers
// and owns none of the groups. Positions are unsigned; searches answer 0
// when found and kGroupNotFound (-1 as unsigned) when not, with the position
// then where the group would be inserted.
class KEEL_API TkeyframeGroupPtrArray : public TsortedArray {
public:
    static constexpr unsigned kGroupNotFound = ~0u;

    explicit TkeyframeGroupPtrArray(bool allowDuplicates = false, unsigned capacity = 8);

    unsigned count() const { return logicalSize(); }
    // The group at `position`, null for a bad position.
    TkeyframeGroup* at(unsigned position) const;

    // Sorted insertion: after the equal groups when duplicates are allowed,
    // refused (kGroupNotFound) for a null group or, without duplicates, an
    // equal group already present. Answers the position.
    unsigned insert(TkeyframeGroup* group);
    // Insertion at a given position (the caller keeps the order); false for
    // a null group or a position past the end.
    bool insert(TkeyframeGroup* group, unsigned position);
    // Appends after checking that the order holds / without any check, for
    // bulk loading followed by sort().
    bool addLast(TkeyframeGroup* group);
    bool addLastUnsorted(TkeyframeGroup* group);
    // Replaces the group at `position` when the order still holds with its
    // neighbours; false otherwise, nothing changed.
    bool change(unsigned position, TkeyframeGroup* group);
    // Binary search by the group's key.
    unsigned find(TkeyframeGroup const* group, unsigned& position) const;
    // The run [first, last] of groups equal to `group`; kGroupNotFound when
    // none (first = last = the insertion point).
    unsigned find(TkeyframeGroup const* group, unsigned& first, unsigned& last) const;
    // Removes this very pointer; false when absent.
    bool remove(TkeyframeGroup const* group);
    void copy(TkeyframeGroupPtrArray const& other);
    // Stable insertion sort by key.
    void sort();

private:
    TkeyframeGroup* const* groups() const { return static_cast<TkeyframeGroup* const*>(data()); }
    // The first position whose group does not order before `probe`.
    unsigned lowerBound(TkeyframeGroup const& probe) const;
    bool ordered(unsigned position, TkeyframeGroup const* group) const;
};
