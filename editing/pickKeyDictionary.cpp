#include "keelanim/editing/pickKeyDictionary.h"

#include <new>

KEEL_DEFINE_METACLASS(TpickKeyDictionaryNode, &TdictionaryNodeTmeta);
KEEL_DEFINE_METACLASS(TpickKeyDictionary, &TdictionaryTmeta);

namespace {
// The base dictionary hands its nodes over as plain nodes; only pick nodes
// are ever stored here, but a foreign node must not be read as one.
TpickKeyDictionaryNode* asPickNode(TdictionaryNode* node)
{
    return dynamic_cast<TpickKeyDictionaryNode*>(node);
}
}  // namespace

// --- TpickKeyDictionaryNode ----------------------------------------------------------

TpickKeyDictionaryNode* TpickKeyDictionaryNode::construct()
{
    return new (std::nothrow) TpickKeyDictionaryNode();
}

TpickKeyDictionaryNode* TpickKeyDictionaryNode::constructInPlace(void* place)
{
    return place != nullptr ? new (place) TpickKeyDictionaryNode() : nullptr;
}

TpickKeyDictionaryNode::TpickKeyDictionaryNode() = default;

TpickKeyDictionaryNode::TpickKeyDictionaryNode(TtimeValue const& key) : fKey(key) {}

TpickKeyDictionaryNode::TpickKeyDictionaryNode(TtimeValue const& key, TpickKey const& pick)
    : fKey(key), fPick(pick, false)
{
}

TpickKeyDictionaryNode::TpickKeyDictionaryNode(int levels, TtimeValue const& key, TpickKey const& pick)
    : TdictionaryNode(levels), fKey(key), fPick(pick, false)
{
}

TpickKeyDictionaryNode::~TpickKeyDictionaryNode() = default;

int TpickKeyDictionaryNode::compare(TdictionaryNode& other)
{
    TpickKeyDictionaryNode const* node = asPickNode(&other);
    if (node == nullptr) {
        return -1;
    }
    if (fKey < node->fKey) {
        return -1;
    }
    return fKey == node->fKey ? 0 : 1;
}

void TpickKeyDictionaryNode::setValue(TdictionaryNode& other)
{
    if (TpickKeyDictionaryNode const* node = asPickNode(&other)) {
        fPick = node->fPick;
    }
}

TdictionaryNode* TpickKeyDictionaryNode::clone(int levels)
{
    return new (std::nothrow) TpickKeyDictionaryNode(levels, fKey, fPick);
}

TpickKeyDictionaryNode* TpickKeyDictionaryNode::next() const
{
    return asPickNode(const_cast<TpickKeyDictionaryNode*>(this)->forward(0));
}

// --- TpickKeyDictionary --------------------------------------------------------------

TpickKeyDictionary* TpickKeyDictionary::construct()
{
    return new (std::nothrow) TpickKeyDictionary();
}

TpickKeyDictionary* TpickKeyDictionary::constructInPlace(void* place)
{
    return place != nullptr ? new (place) TpickKeyDictionary() : nullptr;
}

TpickKeyDictionary::~TpickKeyDictionary() = default;

TpickKeyDictionaryNode* TpickKeyDictionary::first() const
{
    return asPickNode(const_cast<TpickKeyDictionary*>(this)->Tdictionary::first());
}

TpickKeyDictionaryNode* TpickKeyDictionary::insert(TtimeValue const& time, TpickKey const& pick)
{
    TpickKeyDictionaryNode probe(time, pick);
    return asPickNode(insertNode(probe));
}

TpickKeyDictionaryNode* TpickKeyDictionary::insert(TtimeValue const& time, TpickKey const& pick, Tbookmark& bookmark)
{
    TpickKeyDictionaryNode probe(time, pick);
    return asPickNode(insertNode(probe, bookmark));
}

bool TpickKeyDictionary::remove(TtimeValue const& time)
{
    TpickKeyDictionaryNode probe(time);
    return removeNode(probe);
}

TpickKeyDictionaryNode* TpickKeyDictionary::findNode(TtimeValue const& time)
{
    TpickKeyDictionaryNode probe(time);
    return asPickNode(searchNode(probe));
}

TpickKeyDictionaryNode* TpickKeyDictionary::findNode(TtimeValue const& time, Tbookmark& bookmark)
{
    TpickKeyDictionaryNode probe(time);
    return asPickNode(searchNode(probe, bookmark));
}

TpickKey* TpickKeyDictionary::search(TtimeValue const& time)
{
    TpickKeyDictionaryNode* node = findNode(time);
    return node != nullptr ? &node->pick() : nullptr;
}

TpickKey* TpickKeyDictionary::search(TtimeValue const& time, Tbookmark& bookmark)
{
    TpickKeyDictionaryNode* node = findNode(time, bookmark);
    return node != nullptr ? &node->pick() : nullptr;
}
