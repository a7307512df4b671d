#include "keelanim/base/preferences.h"

#include <algorithm>
#include <vector>

KEEL_DEFINE_METACLASS(TpreferenceItem, nullptr);

TpreferenceItemPtrArray TglobalPrefMgr::fPrefItemList;
TobjArrayTbasketPtr TglobalPrefMgr::fBasketList;

namespace {

struct TpendingInit {
    void (*fInitialize)();
    int fPriority;
};

// Function-local so that registrations made by other libraries' static
// initialisers find the list constructed.
struct TinitRegistry {
    std::vector<TpendingInit> fPending;
    bool fInitialised = false;
    bool fRunning = false;
};

TinitRegistry& initRegistry()
{
    static TinitRegistry registry;
    return registry;
}

}  // namespace

TpreferenceItem::~TpreferenceItem()
{
    TglobalPrefMgr::removePrefItem(this);
}

void TpreferenceItem::commandString(Tstring&) {}

bool TglobalPrefMgr::getPrefItem(int id, TpreferenceItem*& item)
{
    TinitBasket::initializeAll();
    item = nullptr;
    for (unsigned i = fPrefItemList.count(); i-- > 0;) {
        if (fPrefItemList[i] != nullptr && fPrefItemList[i]->itemType() == id) {
            item = fPrefItemList[i];
            return true;
        }
    }
    return false;
}

bool TglobalPrefMgr::addPrefItem(TpreferenceItem* item)
{
    unsigned index = 0;
    if (item == nullptr || fPrefItemList.find(item, index)) {
        return false;
    }
    return fPrefItemList.addLast(item);
}

bool TglobalPrefMgr::removePrefItem(TpreferenceItem* item)
{
    unsigned index = 0;
    return item != nullptr && fPrefItemList.find(item, index) && fPrefItemList.removeAt(index, 1);
}

Tbasket::Tbasket()
{
    TglobalPrefMgr::fBasketList.addLast(this);
}

Tbasket::~Tbasket()
{
    for (TpreferenceItem* item : fItems) {
        delete item;  // unregisters itself
    }
    unsigned index = 0;
    if (TglobalPrefMgr::fBasketList.find(this, index)) {
        TglobalPrefMgr::fBasketList.removeAt(index, 1);
    }
}

bool Tbasket::addItem(TpreferenceItem* item)
{
    unsigned index = 0;
    if (item == nullptr || fItems.find(item, index) || !fItems.addLast(item)) {
        return false;
    }
    TglobalPrefMgr::addPrefItem(item);
    return true;
}

TinitBasket::TinitBasket(void (*initialize)(), TinitBasketPriority priority)
{
    if (initialize == nullptr) {
        return;
    }
    TinitRegistry& registry = initRegistry();
    registry.fPending.push_back({initialize, priority});
    if (registry.fInitialised) {
        initializeAll();
    }
}

void TinitBasket::initializeAll()
{
    TinitRegistry& registry = initRegistry();
    if (registry.fRunning) {
        return;  // an initialiser looked a preference up: let it see what exists
    }
    registry.fRunning = true;
    registry.fInitialised = true;
    while (!registry.fPending.empty()) {
        auto next =
            std::min_element(registry.fPending.begin(), registry.fPending.end(),
                             [](TpendingInit const& a, TpendingInit const& b) { return a.fPriority < b.fPriority; });
        void (*initialize)() = next->fInitialize;
        registry.fPending.erase(next);
        initialize();
    }
    registry.fRunning = false;
}
