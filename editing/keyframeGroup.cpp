#include "keelanim/editing/keyframeGroup.h"

TkeyframeGroup::~TkeyframeGroup() = default;

int TkeyframeGroup::compare(TkeyframeGroup const& probe, TkeyframeGroup const& group)
{
    if (probe.isReal()) {
        return probe.fRealKey < group.fRealKey ? -1 : (probe.fRealKey > group.fRealKey ? 1 : 0);
    }
    return probe.fIntKey < group.fIntKey ? -1 : (probe.fIntKey > group.fIntKey ? 1 : 0);
}

TkeyframeGroupPtrArray::TkeyframeGroupPtrArray(bool allowDuplicates, unsigned capacity)
    // Slots hold pointers to groups, not groups.
    : TsortedArray(sizeof(TkeyframeGroup*), 0, allowDuplicates)  // NOLINT(bugprone-sizeof-expression)
{
    allocateArray(capacity);
}

TkeyframeGroup* TkeyframeGroupPtrArray::at(unsigned position) const
{
    return position < count() ? groups()[position] : nullptr;
}

unsigned TkeyframeGroupPtrArray::lowerBound(TkeyframeGroup const& probe) const
{
    unsigned first = 0;
    unsigned length = count();
    while (length > 0) {
        unsigned const half = length / 2;
        if (TkeyframeGroup::compare(probe, *groups()[first + half]) > 0) {
            first += half + 1;
            length -= half + 1;
        } else {
            length = half;
        }
    }
    return first;
}

unsigned TkeyframeGroupPtrArray::find(TkeyframeGroup const* group, unsigned& position) const
{
    unsigned last = 0;
    return find(group, position, last);
}

unsigned TkeyframeGroupPtrArray::find(TkeyframeGroup const* group, unsigned& first, unsigned& last) const
{
    first = last = 0;
    if (group == nullptr) {
        return kGroupNotFound;
    }
    first = lowerBound(*group);
    last = first;
    if (first >= count() || TkeyframeGroup::compare(*group, *groups()[first]) != 0) {
        return kGroupNotFound;
    }
    while (last + 1 < count() && TkeyframeGroup::compare(*group, *groups()[last + 1]) == 0) {
        ++last;
    }
    return 0;
}

unsigned TkeyframeGroupPtrArray::insert(TkeyframeGroup* group)
{
    unsigned first = 0;
    unsigned last = 0;
    bool const present = find(group, first, last) == 0;
    if (group == nullptr || (present && !allowDuplicates())) {
        return kGroupNotFound;
    }
    unsigned const position = present ? last + 1 : first;
    return insertElement(&group, position, 1) ? position : kGroupNotFound;
}

bool TkeyframeGroupPtrArray::insert(TkeyframeGroup* group, unsigned position)
{
    return group != nullptr && position <= count() && insertElement(&group, position, 1);
}

bool TkeyframeGroupPtrArray::addLast(TkeyframeGroup* group)
{
    return group != nullptr && ordered(count(), group) && insertElement(&group, count(), 1);
}

bool TkeyframeGroupPtrArray::addLastUnsorted(TkeyframeGroup* group)
{
    return group != nullptr && insertElement(&group, count(), 1);
}

// Whether `group` may stand at `position` between the groups around it:
// strictly between them without duplicates.
bool TkeyframeGroupPtrArray::ordered(unsigned position, TkeyframeGroup const* group) const
{
    int const worst = allowDuplicates() ? 0 : 1;
    bool const afterPrevious = position == 0 || TkeyframeGroup::compare(*group, *groups()[position - 1]) >= worst;
    bool const beforeNext = position + 1 >= count() || position >= count() ||
                            TkeyframeGroup::compare(*group, *groups()[position + 1]) <= -worst;
    return afterPrevious && beforeNext;
}

bool TkeyframeGroupPtrArray::change(unsigned position, TkeyframeGroup* group)
{
    if (group == nullptr || position >= count() || !ordered(position, group)) {
        return false;
    }
    return copyElements(position, &group, 1);
}

bool TkeyframeGroupPtrArray::remove(TkeyframeGroup const* group)
{
    return group != nullptr && removeElement(&group);
}

void TkeyframeGroupPtrArray::copy(TkeyframeGroupPtrArray const& other)
{
    changeLogicalSizeTo(0);
    if (other.count() > 0) {
        copyElements(0, other.data(), other.count());
    }
}

void TkeyframeGroupPtrArray::sort()
{
    auto* slots = static_cast<TkeyframeGroup**>(data());
    for (unsigned i = 1; i < count(); ++i) {
        TkeyframeGroup* const moving = slots[i];
        unsigned j = i;
        for (; j > 0 && TkeyframeGroup::compare(*moving, *slots[j - 1]) < 0; --j) {
            slots[j] = slots[j - 1];
        }
        slots[j] = moving;
    }
}
