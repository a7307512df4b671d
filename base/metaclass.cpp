#include "keelanim/base/metaclass.h"

#include <cstring>

namespace {
// Constant-initialised, so records built by static initialisers in any
// order find a valid list head.
Tmetaclass* sRegistryHead = nullptr;
}  // namespace

Tmetaclass::Tmetaclass(Tmetaclass** slot, char const* name, unsigned instanceSize, TconstructorProc constructProc,
                       unsigned, bool, Tmetaclass** parent1, Tmetaclass** parent2, Tmetaclass** parent3,
                       Tmetaclass** parent4)
    : fSlot(slot), fName(name != nullptr ? name : ""), fInstanceSize(instanceSize),
      fConstruct(constructProc), fParents{parent1, parent2, parent3, parent4}
{
    if (fSlot != nullptr) {
        *fSlot = this;
    }
    fNextRegistered = sRegistryHead;
    sRegistryHead = this;
}

Tmetaclass::~Tmetaclass()
{
    for (Tmetaclass** link = &sRegistryHead; *link != nullptr; link = &(*link)->fNextRegistered) {
        if (*link == this) {
            *link = fNextRegistered;
            break;
        }
    }
    if (fSlot != nullptr && *fSlot == this) {
        *fSlot = nullptr;
    }
}

Tmetaclass const* Tmetaclass::parent(unsigned i) const
{
    return (i < kMaxParents && fParents[i] != nullptr) ? *fParents[i] : nullptr;
}

bool Tmetaclass::istype(Tmetaclass const* other) const
{
    if (other == nullptr) {
        return false;
    }
    if (other == this) {
        return true;
    }
    for (unsigned i = 0; i < kMaxParents; ++i) {
        Tmetaclass const* up = parent(i);
        if (up != nullptr && up != this && up->istype(other)) {
            return true;
        }
    }
    return false;
}

void* Tmetaclass::construct() const
{
    return fConstruct != nullptr ? fConstruct(nullptr) : nullptr;
}

void* Tmetaclass::constructInPlace(void* place) const
{
    return (fConstruct != nullptr && place != nullptr) ? fConstruct(place) : nullptr;
}

void* Tmetaclass::construct(Tmetaclass const* meta)
{
    return meta != nullptr ? meta->construct() : nullptr;
}

void* Tmetaclass::constructInPlace(Tmetaclass const* meta, void* place)
{
    return meta != nullptr ? meta->constructInPlace(place) : nullptr;
}

Tmetaclass const* Tmetaclass::find(char const* name)
{
    if (name == nullptr) {
        return nullptr;
    }
    for (Tmetaclass const* m = sRegistryHead; m != nullptr; m = m->fNextRegistered) {
        if (std::strcmp(m->fName, name) == 0) {
            return m;
        }
    }
    return nullptr;
}
