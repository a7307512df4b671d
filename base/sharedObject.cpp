#include "keelanim/base/sharedObject.h"

#include <new>

int TmtRefCounter::add()
{
    return fCount.fetch_add(1, std::memory_order_relaxed) + 1;
}

int TmtRefCounter::remove()
{
    int current = fCount.load(std::memory_order_relaxed);
    while (current > 0 &&
           !fCount.compare_exchange_weak(current, current - 1, std::memory_order_acq_rel, std::memory_order_relaxed)) {
    }
    return current > 0 ? current - 1 : 0;
}

TsharedObject::~TsharedObject() = default;

void* TsharedObject::operator new(std::size_t bytes)
{
    return ::operator new(bytes);
}

void TsharedObject::operator delete(void* block)
{
    ::operator delete(block);
}

void TsharedObject::unref()
{
    if (fRefCount.count() > 0 && fRefCount.remove() == 0) {
        delete this;
    }
}
