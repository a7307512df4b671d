#pragma once

#include "keelanim/base/export.h"

// Tmetaclass: the run-time type record of a class.
//
// Each class that takes part in type tests owns one static Tmetaclass object
// (meta<Class>) and a global pointer to it (<Class>Tmeta). Constructing the
// object, which static initialisers do at library load, writes the record
// into that pointer and links it into the registry. Parents are given as the
// addresses of their pointers, so registration order between translation
// units does not matter: istype follows them when it is asked.
//
// A type test compares the pointers first and calls istype only when they
// differ (see keelCast). No type test may run before the static initialisers.

class Tmetaclass;

// Builds an instance: in place when `place` is non-null, else on the heap.
using TconstructorProc = void* (*)(void* place);

class KEEL_API Tmetaclass {
public:
    Tmetaclass(Tmetaclass** slot, char const* name, unsigned instanceSize, TconstructorProc constructProc,
               unsigned reserved, bool reservedFlag, Tmetaclass** parent1 = nullptr, Tmetaclass** parent2 = nullptr,
               Tmetaclass** parent3 = nullptr, Tmetaclass** parent4 = nullptr);
    ~Tmetaclass();
    Tmetaclass(Tmetaclass const&) = delete;
    Tmetaclass& operator=(Tmetaclass const&) = delete;

    // True when this record is `other` or derives from it through any parent.
    bool istype(Tmetaclass const* other) const;
    // A new instance, or null when the class registered no construct procedure.
    void* construct() const;
    void* constructInPlace(void* place) const;
    static void* construct(Tmetaclass const* meta);
    static void* constructInPlace(Tmetaclass const* meta, void* place);

    char const* name() const { return fName; }
    unsigned instanceSize() const { return fInstanceSize; }
    Tmetaclass const* parent(unsigned i) const;

    // The registered record of that name, or null.
    static Tmetaclass const* find(char const* name);

private:
    static constexpr unsigned kMaxParents = 4;
    Tmetaclass** fSlot;
    char const* fName;
    unsigned fInstanceSize;
    TconstructorProc fConstruct;
    Tmetaclass** fParents[kMaxParents];
    Tmetaclass* fNextRegistered = nullptr;
};

// True when an object of type `actual` may be used as `wanted`.
inline bool isTypeOf(Tmetaclass const* actual, Tmetaclass const* wanted)
{
    return actual == wanted || (actual != nullptr && wanted != nullptr && actual->istype(wanted));
}

// A checked down-cast through the type records: null when `object` is null
// or not of type T.
template <class T, class U> T* keelCast(U* object)
{
    if (object == nullptr || !isTypeOf(object->typeof(), T::sTypeof())) {
        return nullptr;
    }
    return static_cast<T*>(object);
}

template <class T, class U> T const* keelCast(U const* object)
{
    if (object == nullptr || !isTypeOf(object->typeof(), T::sTypeof())) {
        return nullptr;
    }
    return static_cast<T const*>(object);
}

// Declares a class's record pointer; place it before the class.
#define KEEL_DECLARE_METACLASS(Class)                                                                                  \
    class Class;                                                                                                       \
    extern KEEL_API Tmetaclass* Class##Tmeta

// Declares the type-test members of a class inside its body. The root of a
// family declares typeof() and cast() virtual itself; KEEL_TYPED then
// overrides them.
#define KEEL_TYPED(Class)                                                                                              \
public:                                                                                                                \
    static Tmetaclass* sTypeof()                                                                                       \
    {                                                                                                                  \
        return Class##Tmeta;                                                                                           \
    }                                                                                                                  \
    Tmetaclass* typeof() const override                                                                                \
    {                                                                                                                  \
        return Class##Tmeta;                                                                                           \
    }                                                                                                                  \
    void* cast(Tmetaclass* type) override                                                                              \
    {                                                                                                                  \
        return isTypeOf(Class##Tmeta, type) ? this : nullptr;                                                          \
    }

// Defines the record and its pointer in one source file.
#define KEEL_DEFINE_METACLASS(Class, ParentSlot)                                                                       \
    KEEL_API Tmetaclass* Class##Tmeta = nullptr;                                                                       \
    Tmetaclass meta##Class(&Class##Tmeta, #Class, sizeof(Class), nullptr, 0, false, ParentSlot)

#define KEEL_DEFINE_CONSTRUCTIBLE_METACLASS(Class, ParentSlot)                                                         \
    KEEL_API Tmetaclass* Class##Tmeta = nullptr;                                                                       \
    Tmetaclass meta##Class(                                                                                            \
        &Class##Tmeta, #Class, sizeof(Class),                                                                          \
        [](void* place) -> void* { return place != nullptr ? new (place) Class : new Class; }, 0, false, ParentSlot)
