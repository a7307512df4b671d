#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/dictionary.h"
#include "keelanim/base/export.h"
#include "keelanim/base/metaclass.h"
#include "keelanim/editing/pickKey.h"

// TpickKeyDictionary: the picks of one curve, in ascending time.
//
// A sorted dictionary from a time to a TpickKey, one entry per time (a curve
// has at most one key per time). The stored time is the key's time when the
// pick was inserted; when keys move afterwards the stored times go stale,
// which TpickKeyList::updateDictionary repairs.
//
// Ownership: the dictionary owns its nodes and each node owns its pick.
// insert() copies the pick it is given (the probe node may be a temporary):
// into a new node without asking the curve (TpickKey's copy), or over the
// pick of an existing node at that time by TpickKey assignment, which asks
// the curve whether it may be selected.

KEEL_DECLARE_METACLASS(TpickKeyDictionaryNode);
KEEL_DECLARE_METACLASS(TpickKeyDictionary);

// One entry: a time and the pick stored under it.
class KEEL_API TpickKeyDictionaryNode : public TdictionaryNode {
public:
    static Tmetaclass* sTypeof() { return TpickKeyDictionaryNodeTmeta; }
    virtual Tmetaclass* typeof() const { return TpickKeyDictionaryNodeTmeta; }
    virtual void* cast(Tmetaclass* type) { return isTypeOf(TpickKeyDictionaryNodeTmeta, type) ? this : nullptr; }
    // An empty node on the heap, or built in `place`.
    static TpickKeyDictionaryNode* construct();
    static TpickKeyDictionaryNode* constructInPlace(void* place);

    // Zero time, empty pick.
    TpickKeyDictionaryNode();
    explicit TpickKeyDictionaryNode(TtimeValue const& key);
    // The pick is copied without asking the curve.
    TpickKeyDictionaryNode(TtimeValue const& key, TpickKey const& pick);
    ~TpickKeyDictionaryNode() override;

    // -1, 0 or 1 as this time is less than, equal to or greater than the
    // other node's; a node that holds no pick orders after every pick node.
    int compare(TdictionaryNode& other) override;
    // Takes the other node's pick by TpickKey assignment.
    void setValue(TdictionaryNode& other) override;
    // A new node with this time, a copy of the pick and `levels` null links.
    TdictionaryNode* clone(int levels) override;

    TtimeValue const& key() const { return fKey; }
    TpickKey& pick() { return fPick; }
    TpickKey const& pick() const { return fPick; }
    // The following node in ascending time, or null.
    TpickKeyDictionaryNode* next() const;

private:
    TpickKeyDictionaryNode(int levels, TtimeValue const& key, TpickKey const& pick);

    TtimeValue fKey;
    TpickKey fPick;
};

class KEEL_API TpickKeyDictionary : public Tdictionary {
public:
    static Tmetaclass* sTypeof() { return TpickKeyDictionaryTmeta; }
    virtual Tmetaclass* typeof() const { return TpickKeyDictionaryTmeta; }
    virtual void* cast(Tmetaclass* type) { return isTypeOf(TpickKeyDictionaryTmeta, type) ? this : nullptr; }
    static TpickKeyDictionary* construct();
    static TpickKeyDictionary* constructInPlace(void* place);

    TpickKeyDictionary() = default;
    ~TpickKeyDictionary() override;

    // The earliest entry, or null when empty; walk on with next().
    TpickKeyDictionaryNode* first() const;
    // Stores a copy of `pick` under `time` (see the ownership note above).
    // Answers the stored node, or null when no node could be made.
    TpickKeyDictionaryNode* insert(TtimeValue const& time, TpickKey const& pick);
    TpickKeyDictionaryNode* insert(TtimeValue const& time, TpickKey const& pick, Tbookmark& bookmark);
    // Removes the entry at `time`; false when there is none.
    bool remove(TtimeValue const& time);
    // The entry stored exactly at `time`, or null. The bookmark form
    // remembers the position for a following insert.
    TpickKeyDictionaryNode* findNode(TtimeValue const& time);
    TpickKeyDictionaryNode* findNode(TtimeValue const& time, Tbookmark& bookmark);
    // The pick stored exactly at `time`, or null.
    TpickKey* search(TtimeValue const& time);
    TpickKey* search(TtimeValue const& time, Tbookmark& bookmark);
};
