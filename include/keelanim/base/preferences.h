#pragma once

#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/base/metaclass.h"
#include "keelanim/base/tstring.h"

// Preference items and the global preference manager.
//
// A preference item is a numbered setting (its item type) that the host
// keeps in the global manager and that a library looks up by number each
// time it needs it. Items are grouped in baskets; a basket owns its items and
// registers them with the manager. Functions registered with TinitBasket run
// once, in priority order, at library initialisation: the first preference
// lookup, or TinitBasket::initializeAll() called by the host.

class TpreferenceItem;
class Tbasket;

extern KEEL_API Tmetaclass* TpreferenceItemTmeta;

class KEEL_API TpreferenceItem {
public:
    TpreferenceItem() = default;
    TpreferenceItem(TpreferenceItem const&) = delete;
    TpreferenceItem& operator=(TpreferenceItem const&) = delete;
    virtual ~TpreferenceItem();

    // Appends the command that recreates this setting (nothing by default).
    virtual void commandString(Tstring& out);
    static Tmetaclass* sTypeof() { return TpreferenceItemTmeta; }
    virtual Tmetaclass* typeof() const { return TpreferenceItemTmeta; }
    virtual void* cast(Tmetaclass* type) { return isTypeOf(TpreferenceItemTmeta, type) ? this : nullptr; }

    void setFlags(unsigned flags) { fFlags = flags; }
    unsigned flags() const { return fFlags; }
    void setItemType(int type) { fItemType = type; }
    int itemType() const { return fItemType; }

private:
    int fItemType = 0;
    unsigned fFlags = 0;
};

class KEEL_API TglobalPrefMgr {
public:
    // The registered item of that type; false (and item null) when none is.
    static bool getPrefItem(int id, TpreferenceItem*& item);
    // Registers an item (not owned); a later item of the same type hides an
    // earlier one until it is removed. False for null or repeated items.
    static bool addPrefItem(TpreferenceItem* item);
    static bool removePrefItem(TpreferenceItem* item);

    static TpreferenceItemPtrArray fPrefItemList;
    static TobjArrayTbasketPtr fBasketList;
};

class KEEL_API Tbasket {
public:
    Tbasket();
    Tbasket(Tbasket const&) = delete;
    Tbasket& operator=(Tbasket const&) = delete;
    virtual ~Tbasket();

    // Takes ownership of the item and registers it with the manager.
    bool addItem(TpreferenceItem* item);
    unsigned itemCount() const { return fItems.count(); }

private:
    TpreferenceItemPtrArray fItems;
};

enum TinitBasketPriority : int {
    kInitFirst = 0,
    kInitNormal = 50,
    kInitLast = 100,
};

class KEEL_API TinitBasket {
public:
    // Registers `initialize` to run at library initialisation (lower
    // priorities first; equal priorities in registration order). When
    // initialisation has already run, the function runs at once.
    TinitBasket(void (*initialize)(), TinitBasketPriority priority);

    // Runs every registered function that has not run yet.
    static void initializeAll();
};
