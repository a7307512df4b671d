#include "keelanim/base/array.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr unsigned kMinimumGrowth = 8;

// Byte count of `count` elements, or false when it does not fit.
bool byteCount(unsigned elementSize, unsigned count, std::size_t& bytes)
{
    if (elementSize != 0 && count > std::numeric_limits<std::size_t>::max() / elementSize) {
        return false;
    }
    bytes = std::size_t(elementSize) * count;
    return true;
}

}  // namespace

Tarray::Tarray(unsigned elementSize, unsigned initialCount) : fElementSize(elementSize == 0 ? 1 : elementSize)
{
    reallocate(initialCount);
}

Tarray::Tarray(Tarray const& other) : fElementSize(other.fElementSize)
{
    if (reallocate(other.fLogicalSize) && other.fLogicalSize != 0) {
        std::memcpy(fData, other.fData, std::size_t(fElementSize) * other.fLogicalSize);
        fLogicalSize = other.fLogicalSize;
    }
}

Tarray& Tarray::operator=(Tarray const& other)
{
    if (this == &other) {
        return *this;
    }
    destructElements(0, fLogicalSize);
    fLogicalSize = 0;
    if (fElementSize != other.fElementSize) {
        releaseStorage();
        fElementSize = other.fElementSize;
    }
    if (growFor(other.fLogicalSize) && other.fLogicalSize != 0) {
        std::memcpy(fData, other.fData, std::size_t(fElementSize) * other.fLogicalSize);
        fLogicalSize = other.fLogicalSize;
    }
    return *this;
}

Tarray::~Tarray()
{
    releaseStorage();
}

void Tarray::releaseStorage()
{
    std::free(fData);
    fData = nullptr;
    fPhysicalSize = 0;
    fLogicalSize = 0;
}

bool Tarray::reallocate(unsigned physicalCount)
{
    std::size_t bytes = 0;
    if (!byteCount(fElementSize, physicalCount, bytes)) {
        return false;
    }
    if (physicalCount == 0) {
        std::free(fData);
        fData = nullptr;
        fPhysicalSize = 0;
        return true;
    }
    void* grown = std::realloc(fData, bytes);
    if (grown == nullptr) {
        return false;
    }
    fData = static_cast<unsigned char*>(grown);
    fPhysicalSize = physicalCount;
    return true;
}

bool Tarray::growFor(unsigned logicalCount)
{
    if (logicalCount <= fPhysicalSize) {
        return true;
    }
    unsigned const doubled = fPhysicalSize > std::numeric_limits<unsigned>::max() / 2
                                 ? std::numeric_limits<unsigned>::max()
                                 : fPhysicalSize * 2;
    unsigned const target = std::max({logicalCount, doubled, kMinimumGrowth});
    return reallocate(target) || reallocate(logicalCount);
}

void Tarray::constructElements(unsigned first, unsigned count)
{
    if (count != 0) {
        std::memset(fData + std::size_t(first) * fElementSize, 0, std::size_t(count) * fElementSize);
    }
}

void Tarray::destructElements(unsigned, unsigned) {}

bool Tarray::create(unsigned count)
{
    return createAndInitialise(nullptr, count, count);
}

bool Tarray::createAndInitialise(void const* init, unsigned count, unsigned physicalCount)
{
    destructElements(0, fLogicalSize);
    fLogicalSize = 0;
    if (!reallocate(std::max(count, physicalCount))) {
        return false;
    }
    return insertElement(init, 0, count);
}

bool Tarray::allocateArray(unsigned count)
{
    return count <= fPhysicalSize || reallocate(count);
}

bool Tarray::expandArray(unsigned count)
{
    if (count > std::numeric_limits<unsigned>::max() - fPhysicalSize) {
        return false;
    }
    return reallocate(fPhysicalSize + count);
}

bool Tarray::changeLogicalSizeTo(unsigned count)
{
    if (count < fLogicalSize) {
        destructElements(count, fLogicalSize - count);
        fLogicalSize = count;
        return true;
    }
    if (!growFor(count)) {
        return false;
    }
    constructElements(fLogicalSize, count - fLogicalSize);
    fLogicalSize = count;
    return true;
}

bool Tarray::changePhysicalSizeTo(unsigned count)
{
    if (count < fLogicalSize) {
        destructElements(count, fLogicalSize - count);
        fLogicalSize = count;
    }
    return reallocate(count);
}

void* Tarray::elementAt(unsigned index)
{
    return index < fLogicalSize ? fData + std::size_t(index) * fElementSize : nullptr;
}

void const* Tarray::elementAt(unsigned index) const
{
    return index < fLogicalSize ? fData + std::size_t(index) * fElementSize : nullptr;
}

bool Tarray::copyElements(unsigned index, void const* source, unsigned count)
{
    if (source == nullptr || index > fLogicalSize || count > std::numeric_limits<unsigned>::max() - index) {
        return false;
    }
    unsigned const end = index + count;
    if (end > fLogicalSize && !changeLogicalSizeTo(end)) {
        return false;
    }
    if (count != 0) {
        std::memmove(fData + std::size_t(index) * fElementSize, source, std::size_t(count) * fElementSize);
    }
    return true;
}

bool Tarray::insertElement(void const* element, unsigned index, unsigned count)
{
    if (index > fLogicalSize || count > std::numeric_limits<unsigned>::max() - fLogicalSize) {
        return false;
    }
    if (count == 0) {
        return true;
    }
    // The element may live inside this array: copy it out before moving memory.
    unsigned char stash[64];
    unsigned char* copy = stash;
    unsigned char* heapCopy = nullptr;
    if (element != nullptr) {
        if (fElementSize > sizeof stash) {
            heapCopy = static_cast<unsigned char*>(std::malloc(fElementSize));
            if (heapCopy == nullptr) {
                return false;
            }
            copy = heapCopy;
        }
        std::memcpy(copy, element, fElementSize);
    }
    bool const grown = growFor(fLogicalSize + count);
    if (grown) {
        std::size_t const size = fElementSize;
        unsigned char* at = fData + index * size;
        std::memmove(at + count * size, at, (fLogicalSize - index) * size);
        fLogicalSize += count;
        if (element == nullptr) {
            constructElements(index, count);
        } else {
            for (unsigned i = 0; i < count; ++i) {
                std::memcpy(at + i * size, copy, size);
            }
        }
    }
    std::free(heapCopy);
    return grown;
}

bool Tarray::removeAt(unsigned index, unsigned count)
{
    if (index >= fLogicalSize) {
        return false;
    }
    count = std::min(count, fLogicalSize - index);
    destructElements(index, count);
    std::size_t const size = fElementSize;
    unsigned char* at = fData + index * size;
    std::memmove(at, at + count * size, (fLogicalSize - index - count) * size);
    fLogicalSize -= count;
    return true;
}

bool Tarray::findElement(void const* element, unsigned& index) const
{
    index = fLogicalSize;
    if (element == nullptr) {
        return false;
    }
    for (unsigned i = 0; i < fLogicalSize; ++i) {
        if (std::memcmp(fData + std::size_t(i) * fElementSize, element, fElementSize) == 0) {
            index = i;
            return true;
        }
    }
    return false;
}

bool Tarray::removeElement(void const* element)
{
    unsigned index = 0;
    return findElement(element, index) && removeAt(index, 1);
}

TobjArray::~TobjArray()
{
    // The hooks of a derived array are gone by now; tear the elements down
    // through this level's hooks before the base frees the storage.
    destructElements(0, fLogicalSize);
    fLogicalSize = 0;
}

bool TobjArray::changeLogicalSizeBy(int delta)
{
    long long const target = static_cast<long long>(fLogicalSize) + delta;
    if (target < 0 || target > std::numeric_limits<unsigned>::max()) {
        return false;
    }
    return changeLogicalSizeTo(static_cast<unsigned>(target));
}

void TobjArray::reset()
{
    changeLogicalSizeTo(0);
}
