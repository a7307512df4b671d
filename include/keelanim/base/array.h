#pragma once

#include "keelanim/base/export.h"

#include <cstddef>
#include <type_traits>

// Dynamic arrays of fixed-size elements.
//
// Tarray keeps its elements contiguous: element i lives at data() + i *
// elementSize(). The logical size counts the elements in use, the physical
// size the elements allocated. Growing the logical size past the physical
// size reallocates (geometrically, so appending is amortised O(1));
// shrinking it keeps the storage. New elements are zero-filled.
//
// Elements are moved with memmove, so they must be bitwise relocatable:
// numbers, pointers and plain records. Every operation that can fail (an
// index out of range, a size that overflows, memory exhausted) answers false
// and leaves the array as it was.
class KEEL_API Tarray {
public:
    Tarray(unsigned elementSize, unsigned initialCount);
    Tarray(Tarray const& other);
    Tarray& operator=(Tarray const& other);
    virtual ~Tarray();

    // --- Storage -----------------------------------------------------------
    // Discards the contents and makes `count` zeroed elements.
    bool create(unsigned count);
    // Discards the contents and makes `count` copies of *init (zeros when
    // init is null), with room for at least `physicalCount` elements.
    bool createAndInitialise(void const* init, unsigned count, unsigned physicalCount);
    // Makes room for at least `count` elements; never shrinks.
    bool allocateArray(unsigned count);
    // Makes room for `count` more elements than are allocated now.
    bool expandArray(unsigned count);
    bool changeLogicalSizeTo(unsigned count);
    // Shrinking below the logical size drops the elements past the end.
    bool changePhysicalSizeTo(unsigned count);

    // --- Elements ----------------------------------------------------------
    // Copies `count` elements from `source` over [index, index + count),
    // growing the logical size when the range passes the end.
    bool copyElements(unsigned index, void const* source, unsigned count);
    // Inserts `count` copies of *element (zeros when null) before `index`
    // (index == logicalSize() appends).
    bool insertElement(void const* element, unsigned index, unsigned count);
    // Removes [index, index + count), clipped to the logical size.
    bool removeAt(unsigned index, unsigned count);
    // Removes the first element whose bytes equal *element.
    bool removeElement(void const* element);
    // Finds the first element whose bytes equal *element.
    bool findElement(void const* element, unsigned& index) const;

    // --- Direct access -----------------------------------------------------
    void* data() { return fData; }
    void const* data() const { return fData; }
    void* elementAt(unsigned index);
    void const* elementAt(unsigned index) const;
    unsigned elementSize() const { return fElementSize; }
    unsigned logicalSize() const { return fLogicalSize; }
    unsigned physicalSize() const { return fPhysicalSize; }

protected:
    // Hooks for arrays whose elements need set-up and tear-down.
    virtual void constructElements(unsigned first, unsigned count);
    virtual void destructElements(unsigned first, unsigned count);
    bool reallocate(unsigned physicalCount);
    bool growFor(unsigned logicalCount);
    void releaseStorage();

    unsigned char* fData = nullptr;
    unsigned fElementSize;
    unsigned fLogicalSize = 0;
    unsigned fPhysicalSize = 0;
};

// TobjArray: a Tarray whose elements are set up when they enter and torn
// down when they leave, through the construct and destruct hooks (zeroing and
// nothing by default). reset() empties the array.
class KEEL_API TobjArray : public Tarray {
public:
    TobjArray(unsigned elementSize, unsigned initialCount) : Tarray(elementSize, initialCount) {}
    ~TobjArray() override;

    bool changeLogicalSizeBy(int delta);
    void reset();
};

// TsortedArray: storage for arrays that subclasses keep ordered. The
// subclass supplies compare, find, insert, change and sort; the base only
// remembers whether equal elements may coexist.
class KEEL_API TsortedArray : public Tarray {
public:
    TsortedArray(unsigned elementSize, unsigned initialCount, bool allowDuplicates)
        : Tarray(elementSize, initialCount), fAllowDuplicates(allowDuplicates)
    {
    }

    bool allowDuplicates() const { return fAllowDuplicates; }

private:
    bool fAllowDuplicates;
};

// Element-typed views over an array base, for trivially copyable elements.
template <class T, class Base = Tarray> class TtypedArray : public Base {
    static_assert(std::is_trivially_copyable_v<T>, "array elements are moved bitwise");

public:
    explicit TtypedArray(unsigned initialCount = 0)
        : Base(sizeof(T), initialCount) {}  // NOLINT(bugprone-sizeof-expression)

    unsigned count() const { return this->logicalSize(); }
    bool empty() const { return this->logicalSize() == 0; }
    T* begin() { return static_cast<T*>(this->data()); }
    T* end() { return begin() + count(); }
    T const* begin() const { return static_cast<T const*>(this->data()); }
    T const* end() const { return begin() + count(); }
    // Unchecked, as for a plain array; use at() when the index may be bad.
    T& operator[](unsigned i) { return begin()[i]; }
    T const& operator[](unsigned i) const { return begin()[i]; }
    // The element at i, or a value-initialised T for a bad index.
    T at(unsigned i) const { return i < count() ? begin()[i] : T{}; }

    bool addLast(T const& value) { return this->insertElement(&value, count(), 1); }
    bool insert(T const& value, unsigned index) { return this->insertElement(&value, index, 1); }
    bool remove(unsigned index) { return this->removeAt(index, 1); }
    bool find(T const& value, unsigned& index) const { return this->findElement(&value, index); }
};

class TanimTime;
class TtimeValue;
class TpreferenceItem;
class Tbasket;

using TfloatArray = TtypedArray<float>;
using TdoubleArray = TtypedArray<double>;
using TuInt32Array = TtypedArray<unsigned int>;
using TuInt8Array = TtypedArray<unsigned char>;

// Pointer arrays do not own what they point to.
using TfloatArrayPtrArray = TtypedArray<TfloatArray*>;
using TdoubleArrayPtrArray = TtypedArray<TdoubleArray*>;
using TvaluesArrayPtrArray = TtypedArray<TdoubleArray*>;
using TuInt32ArrayPtrArray = TtypedArray<TuInt32Array*>;
using TuInt8ArrayPtrArray = TtypedArray<TuInt8Array*>;
using TpreferenceItemPtrArray = TtypedArray<TpreferenceItem*, TobjArray>;
using TobjArrayTbasketPtr = TtypedArray<Tbasket*, TobjArray>;
