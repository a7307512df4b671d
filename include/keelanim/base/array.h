#pragma once

#include "keelanim/base/export.h"

#include <cstddef>
#include <new>
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
// Slices (first, count) are clipped to the source; an empty source leaves
// the target as copy() or catenate() would with nothing to take.
template <class T, class Base = Tarray> class TtypedArray : public Base {
    static_assert(std::is_trivially_copyable_v<T>, "array elements are moved bitwise");

public:
    static constexpr unsigned kAll = ~0u;

    explicit TtypedArray(unsigned initialCount = 0)
        : Base(sizeof(T), initialCount) {}  // NOLINT(bugprone-sizeof-expression)

    // --- Access ------------------------------------------------------------
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

    // --- Elements ----------------------------------------------------------
    bool addLast(T const& value) { return this->insertElement(&value, count(), 1); }
    bool addLast(T const* values, unsigned n) { return insert(values, count(), n); }
    bool insert(T const& value, unsigned index) { return this->insertElement(&value, index, 1); }
    bool insert(T const* values, unsigned index, unsigned n)
    {
        if (values == nullptr || index > count()) {
            return values == nullptr && n == 0;
        }
        // The values may live inside this array: open the gap, then copy from
        // where they are after the move.
        T const* const from = values;
        bool const inside = !empty() && from >= begin() && from < end();
        unsigned const offset = inside ? unsigned(from - begin()) : 0;
        if (!this->insertElement(nullptr, index, n)) {
            return false;
        }
        T const* source = inside ? begin() + offset + (offset >= index ? n : 0) : from;
        for (unsigned i = 0; i < n; ++i) {
            begin()[index + i] = source[i];
        }
        return true;
    }
    // Sets [index, index + n) to value, growing the array when needed.
    bool createAndSet(T const& value, unsigned index, unsigned n)
    {
        if (index > count() || n > kAll - index) {
            return false;
        }
        if (index + n > count() && !this->changeLogicalSizeTo(index + n)) {
            return false;
        }
        for (unsigned i = 0; i < n; ++i) {
            begin()[index + i] = value;
        }
        return true;
    }
    bool find(T const& value, unsigned& index) const { return this->findElement(&value, index); }
    bool find(T const& value) const
    {
        unsigned index = 0;
        return this->findElement(&value, index);
    }
    // Removes the first element equal to value.
    bool remove(T const& value) { return this->removeElement(&value); }

    // --- Whole arrays ------------------------------------------------------
    void swap(TtypedArray& other)
    {
        TtypedArray held(0);
        held.Tarray::operator=(other);
        other.Tarray::operator=(*this);
        this->Tarray::operator=(held);
    }
    bool copy(TtypedArray const& other, unsigned first = 0, unsigned n = kAll)
    {
        if (this == &other) {
            // `other` is this array, which the copy empties first.
            // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
            TtypedArray const snapshot(other);
            return copy(snapshot, first, n);
        }
        this->changeLogicalSizeTo(0);
        return catenate(other, first, n);
    }
    bool catenate(TtypedArray const& other, unsigned first = 0, unsigned n = kAll)
    {
        if (first >= other.count()) {
            return true;
        }
        unsigned const take = n < other.count() - first ? n : other.count() - first;
        return insert(other.begin() + first, count(), take);
    }

    friend bool operator==(TtypedArray const& a, TtypedArray const& b)
    {
        if (a.count() != b.count()) {
            return false;
        }
        for (unsigned i = 0; i < a.count(); ++i) {
            if (!(a[i] == b[i])) {
                return false;
            }
        }
        return true;
    }
};

// An array of values that need construction, copying and destruction (such
// as arrays of arrays). Elements are relocated bitwise when the storage
// grows, which holds for every engine type used here (no self-pointers).
template <class T> class TvalueArray : public TobjArray {
public:
    explicit TvalueArray(unsigned initialCount = 0) : TobjArray(sizeof(T), initialCount) {}
    TvalueArray(TvalueArray const& other) : TobjArray(sizeof(T), 0) { catenate(other); }
    TvalueArray& operator=(TvalueArray const& other)
    {
        copy(other);
        return *this;
    }
    ~TvalueArray() override
    {
        destructElements(0, fLogicalSize);
        fLogicalSize = 0;
    }

    unsigned count() const { return logicalSize(); }
    bool empty() const { return count() == 0; }
    T* begin() { return static_cast<T*>(data()); }
    T* end() { return begin() + count(); }
    T const* begin() const { return static_cast<T const*>(data()); }
    T const* end() const { return begin() + count(); }
    T& operator[](unsigned i) { return begin()[i]; }
    T const& operator[](unsigned i) const { return begin()[i]; }

    bool insert(T const& value, unsigned index)
    {
        T const held(value);  // NOLINT(performance-unnecessary-copy-initialization): value may live in this array
        if (!insertElement(nullptr, index, 1)) {
            return false;
        }
        begin()[index] = held;
        return true;
    }
    bool addLast(T const& value) { return insert(value, count()); }
    bool find(T const& value, unsigned& index) const
    {
        for (index = 0; index < count(); ++index) {
            if (begin()[index] == value) {
                return true;
            }
        }
        return false;
    }
    bool remove(T const& value)
    {
        unsigned index = 0;
        return find(value, index) && removeAt(index, 1);
    }
    bool copy(TvalueArray const& other, unsigned first = 0, unsigned n = ~0u)
    {
        if (this == &other) {
            TvalueArray const snapshot(other);
            return copy(snapshot, first, n);
        }
        reset();
        return catenate(other, first, n);
    }
    bool catenate(TvalueArray const& other, unsigned first = 0, unsigned n = ~0u)
    {
        if (this == &other) {
            TvalueArray const snapshot(other);
            return catenate(snapshot, first, n);
        }
        for (unsigned i = first; i < other.count() && i - first < n; ++i) {
            if (!addLast(other[i])) {
                return false;
            }
        }
        return true;
    }
    void swap(TvalueArray& other)
    {
        TvalueArray held(other);
        other = *this;
        *this = held;
    }

protected:
    void constructElements(unsigned first, unsigned n) override
    {
        for (unsigned i = 0; i < n; ++i) {
            new (begin() + first + i) T();
        }
    }
    void destructElements(unsigned first, unsigned n) override
    {
        for (unsigned i = 0; i < n; ++i) {
            begin()[first + i].~T();
        }
    }
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
