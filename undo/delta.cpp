#include "keelanim/undo/delta.h"

#include <new>

KEEL_DEFINE_METACLASS(Tdelta, nullptr);
KEEL_DEFINE_CONSTRUCTIBLE_METACLASS(TdeltaComposite, &TdeltaTmeta);

namespace {
constexpr unsigned kInitialChildren = 8;
}  // namespace

// --- Tdelta --------------------------------------------------------------------

Tdelta::Tdelta(TdeltaUser* user) : fUser(user) {}

Tdelta::~Tdelta() = default;

Tdelta* Tdelta::construct(Tmetaclass* type)
{
    if (type == nullptr || !type->istype(TdeltaTmeta)) {
        return nullptr;
    }
    return static_cast<Tdelta*>(type->construct());
}

Tdelta* Tdelta::constructInPlace(Tmetaclass* type, void* where)
{
    if (type == nullptr || !type->istype(TdeltaTmeta)) {
        return nullptr;
    }
    return static_cast<Tdelta*>(type->constructInPlace(where));
}

void Tdelta::setUndone(bool undone)
{
    fFlags = undone ? (fFlags | kUndoneBit) : (fFlags & ~kUndoneBit);
}

bool Tdelta::undo()
{
    bool const done = fUser != nullptr && fUser->undoDelta(this);
    setUndone(true);
    return done;
}

bool Tdelta::redo()
{
    bool const done = fUser != nullptr && fUser->redoDelta(this);
    setUndone(false);
    return done;
}

bool Tdelta::merge(Tdelta*)
{
    return false;
}

// --- TdeltaUser ----------------------------------------------------------------

TdeltaUser::~TdeltaUser()
{
    delete fPendingDelta;
}

void TdeltaUser::beginMod()
{
    fFlags |= kModBit;
}

Tdelta* TdeltaUser::endMod()
{
    fFlags &= ~kModBit;
    return releasePendingDelta();
}

bool TdeltaUser::undoDelta(Tdelta*)
{
    return false;
}

bool TdeltaUser::redoDelta(Tdelta*)
{
    return false;
}

void TdeltaUser::setPendingDelta(Tdelta* delta)
{
    if (delta != fPendingDelta) {
        delete fPendingDelta;
        fPendingDelta = delta;
    }
}

Tdelta* TdeltaUser::releasePendingDelta()
{
    Tdelta* const delta = fPendingDelta;
    fPendingDelta = nullptr;
    return delta;
}

// --- TdeltaComposite -----------------------------------------------------------

TdeltaComposite::TdeltaComposite() : Tdelta(nullptr), fChildren(kInitialChildren) {}

TdeltaComposite::~TdeltaComposite()
{
    unsigned const n = fChildren.count();
    for (unsigned i = 0; i < n; ++i) {
        delete fChildren[isUndone() ? n - 1 - i : i];
    }
}

bool TdeltaComposite::undo()
{
    bool all = true;
    for (unsigned i = fChildren.count(); i-- > 0;) {
        if (fChildren[i] != nullptr) {
            all = fChildren[i]->undo() && all;
        }
    }
    return all;
}

bool TdeltaComposite::redo()
{
    bool all = true;
    for (unsigned i = 0; i < fChildren.count(); ++i) {
        if (fChildren[i] != nullptr) {
            all = fChildren[i]->redo() && all;
        }
    }
    return all;
}

bool TdeltaComposite::merge(Tdelta* delta)
{
    if (delta == nullptr || delta == this) {
        return true;
    }
    Tdelta* const last = fChildren.empty() ? nullptr : fChildren[fChildren.count() - 1];
    if (last != nullptr && last->merge(delta)) {
        return true;
    }
    fChildren.addLast(delta);
    return true;
}
