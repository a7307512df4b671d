#pragma once

#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/base/metaclass.h"

// The generic undo machinery.
//
// A Tdelta is one undoable change made on a TdeltaUser. It is created in
// effect; undo() puts it in its undone state (flag bit 0), redo() back. A
// TdeltaComposite groups deltas into one undo step: it owns its children,
// undoes them last to first and redoes them first to last. A TdeltaUser
// collects the delta of a modification between beginMod() and endMod(),
// which hands it to the caller.
//
// Ownership: a delta has exactly one owner at a time: the user's pending
// slot, a composite, or whoever endMod() handed it to.

KEEL_DECLARE_METACLASS(Tdelta);
KEEL_DECLARE_METACLASS(TdeltaComposite);

class TdeltaUser;

class KEEL_API Tdelta {
public:
    explicit Tdelta(TdeltaUser* user);
    Tdelta(Tdelta const&) = delete;
    Tdelta& operator=(Tdelta const&) = delete;
    virtual ~Tdelta();

    static Tmetaclass* sTypeof() { return TdeltaTmeta; }
    virtual Tmetaclass* typeof() const { return TdeltaTmeta; }
    virtual void* cast(Tmetaclass* type) { return isTypeOf(TdeltaTmeta, type) ? this : nullptr; }
    // Factories through the type records: null for a null or foreign type, or
    // a type that registered no construct procedure.
    static Tdelta* construct(Tmetaclass* type);
    static Tdelta* constructInPlace(Tmetaclass* type, void* where);

    // Asks the user to undo (redo) this change, then marks it undone (in
    // effect). Answers what the user answered.
    virtual bool undo();
    virtual bool redo();
    // Whether this delta absorbed `other` (the caller then disposes of it). A
    // plain delta never does.
    virtual bool merge(Tdelta* other);

    TdeltaUser* user() const { return fUser; }
    unsigned flags() const { return fFlags; }
    bool isUndone() const { return (fFlags & kUndoneBit) != 0; }

protected:
    static constexpr unsigned kUndoneBit = 1;
    void setUndone(bool undone);

private:
    TdeltaUser* fUser;
    unsigned fFlags = 0;
};

// Arrays of delta pointers (not owning) and of such arrays.
using TdeltaPtrArray = TtypedArray<Tdelta*>;
using TdeltaPtrArrayArray = TvalueArray<TdeltaPtrArray>;

// The object on which changes are recorded.
class KEEL_API TdeltaUser {
public:
    TdeltaUser() = default;
    TdeltaUser(TdeltaUser const&) = delete;
    TdeltaUser& operator=(TdeltaUser const&) = delete;
    // Deletes a pending delta that was never handed out.
    virtual ~TdeltaUser();

    // Enters modification (a single bit, not a counter).
    virtual void beginMod();
    // Leaves modification and hands the collected delta (or null) to the
    // caller, who owns it from then on.
    virtual Tdelta* endMod();
    bool isMod() const { return (fFlags & kModBit) != 0; }

    // Generic deltas act on their user through these; the base does nothing
    // and answers false.
    virtual bool undoDelta(Tdelta* delta);
    virtual bool redoDelta(Tdelta* delta);

protected:
    static constexpr unsigned kModBit = 1;
    Tdelta* pendingDelta() const { return fPendingDelta; }
    // Takes ownership; a former pending delta is deleted.
    void setPendingDelta(Tdelta* delta);
    // Gives up ownership without deleting.
    Tdelta* releasePendingDelta();

private:
    Tdelta* fPendingDelta = nullptr;
    unsigned fFlags = 0;
};

// An ordered group of deltas that undo and redo as one step.
class KEEL_API TdeltaComposite : public Tdelta {
    KEEL_TYPED(TdeltaComposite)

public:
    TdeltaComposite();
    // Deletes the children: first to last while the step is in effect, last
    // to first while it is undone, mirroring the order they were last applied.
    ~TdeltaComposite() override;

    // Undoes the children last to first / redoes them first to last. The
    // composite's own undone bit is left to derived classes. True when every
    // child answered true.
    bool undo() override;
    bool redo() override;
    // Never refuses: the last child may absorb `delta` (the caller keeps it),
    // otherwise it is appended and owned. Null is accepted and ignored.
    bool merge(Tdelta* delta) override;

    unsigned childCount() const { return fChildren.count(); }
    Tdelta* child(unsigned index) const { return fChildren.at(index); }

protected:
    TdeltaPtrArray fChildren;
    // Unused here; derived composites give it a meaning.
    bool fFlag = false;
};
