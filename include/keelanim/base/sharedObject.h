#pragma once

#include "keelanim/base/export.h"

#include <atomic>
#include <cstddef>

// Reference counting for objects shared between owners, possibly on
// different threads.

// A thread-safe count. add() and remove() answer the count after the change;
// remove() never goes below zero.
class KEEL_API TmtRefCounter {
public:
    explicit TmtRefCounter(int initial = 0) : fCount(initial) {}
    int add();
    int remove();
    int count() const { return fCount.load(std::memory_order_acquire); }

private:
    std::atomic<int> fCount;
};

// An object that deletes itself when its last owner lets go. It starts with
// no owner: the creator calls ref() once for itself.
class KEEL_API TsharedObject {
public:
    TsharedObject() = default;
    TsharedObject(TsharedObject const&) = delete;
    TsharedObject& operator=(TsharedObject const&) = delete;

    static void* operator new(std::size_t bytes);
    static void operator delete(void* block);

    void ref() { fRefCount.add(); }
    // Drops one reference; deletes the object when none is left.
    void unref();
    int refCount() const { return fRefCount.count(); }

protected:
    virtual ~TsharedObject();

private:
    TmtRefCounter fRefCount;
};
