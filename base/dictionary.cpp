#include "keelanim/base/dictionary.h"

#include <new>

KEEL_DEFINE_METACLASS(TdictionaryNode, nullptr);
KEEL_DEFINE_METACLASS(Tdictionary, &TdictionaryNodeTmeta);

namespace {
constexpr int kMaxLevels = Tbookmark::kMaxLevels;

int clampLevels(int levels)
{
    return levels < 1 ? 1 : (levels > kMaxLevels ? kMaxLevels : levels);
}
}  // namespace

TdictionaryNode::TdictionaryNode(int levels)
    : fLevels(clampLevels(levels)), fForward(new TdictionaryNode*[static_cast<unsigned>(fLevels)]())
{
}

TdictionaryNode::~TdictionaryNode()
{
    delete[] fForward;
}

int TdictionaryNode::compare(TdictionaryNode&)
{
    return 0;
}

void TdictionaryNode::setValue(TdictionaryNode&) {}

TdictionaryNode* TdictionaryNode::clone(int levels)
{
    return new (std::nothrow) TdictionaryNode(levels);
}

void TdictionaryNode::destroy()
{
    delete this;
}

TdictionaryNode* TdictionaryNode::forward(int level)
{
    return (level >= 0 && level < fLevels) ? fForward[level] : nullptr;
}

void TdictionaryNode::setForward(int level, TdictionaryNode* node)
{
    if (level >= 0 && level < fLevels) {
        fForward[level] = node;
    }
}

Tdictionary::Tdictionary() : TdictionaryNode(kMaxLevels) {}

Tdictionary::~Tdictionary()
{
    reset();
}

void Tdictionary::reset()
{
    TdictionaryNode* node = forward(0);
    while (node != nullptr) {
        TdictionaryNode* next = node->forward(0);
        node->destroy();
        node = next;
    }
    for (int level = 0; level < kMaxLevels; ++level) {
        setForward(level, nullptr);
    }
    fLevelInUse = 1;
    fCount = 0;
    ++fStamp;
}

int Tdictionary::randomLevel()
{
    // xorshift64*: a fixed seed keeps the shape of a dictionary reproducible.
    fRandomState ^= fRandomState >> 12;
    fRandomState ^= fRandomState << 25;
    fRandomState ^= fRandomState >> 27;
    std::uint64_t bits = fRandomState * 0x2545F4914F6CDD1Dull;
    int level = 1;
    while (level < kMaxLevels && (bits & 3u) == 0) {  // p = 1/4 per level
        ++level;
        bits >>= 2;
    }
    return level;
}

void Tdictionary::search(TdictionaryNode& probe, Tbookmark& bookmark)
{
    TdictionaryNode* at = this;
    for (int level = kMaxLevels - 1; level >= 0; --level) {
        if (level < fLevelInUse) {
            for (TdictionaryNode* next = at->forward(level); next != nullptr && next->compare(probe) < 0;
                 next = at->forward(level)) {
                at = next;
            }
        }
        bookmark.fPath[level] = at;
    }
    bookmark.fOwner = this;
    bookmark.fStamp = fStamp;
}

TdictionaryNode* Tdictionary::searchNode(TdictionaryNode& node, Tbookmark& bookmark)
{
    search(node, bookmark);
    TdictionaryNode* candidate = bookmark.fPath[0]->forward(0);
    return (candidate != nullptr && candidate->compare(node) == 0) ? candidate : nullptr;
}

TdictionaryNode* Tdictionary::searchNode(TdictionaryNode& node)
{
    Tbookmark bookmark;
    return searchNode(node, bookmark);
}

TdictionaryNode* Tdictionary::insertNode(TdictionaryNode& node)
{
    Tbookmark bookmark;
    return insertNode(node, bookmark);
}

TdictionaryNode* Tdictionary::insertNode(TdictionaryNode& node, Tbookmark& bookmark)
{
    if (bookmark.fOwner != this || bookmark.fStamp != fStamp) {
        search(node, bookmark);
    }
    TdictionaryNode* existing = bookmark.fPath[0]->forward(0);
    if (existing != nullptr && existing->compare(node) == 0) {
        existing->setValue(node);
        return existing;
    }
    int const levels = randomLevel();
    TdictionaryNode* stored = node.clone(levels);
    if (stored == nullptr) {
        return nullptr;
    }
    for (int level = 0; level < stored->levels(); ++level) {
        TdictionaryNode* before = bookmark.fPath[level];
        stored->setForward(level, before->forward(level));
        before->setForward(level, stored);
    }
    if (stored->levels() > fLevelInUse) {
        fLevelInUse = stored->levels();
    }
    ++fCount;
    ++fStamp;
    bookmark.invalidate();
    return stored;
}

bool Tdictionary::removeNode(TdictionaryNode& node)
{
    Tbookmark bookmark;
    TdictionaryNode* found = searchNode(node, bookmark);
    if (found == nullptr) {
        return false;
    }
    for (int level = 0; level < found->levels(); ++level) {
        TdictionaryNode* before = bookmark.fPath[level];
        if (before->forward(level) == found) {
            before->setForward(level, found->forward(level));
        }
    }
    while (fLevelInUse > 1 && forward(fLevelInUse - 1) == nullptr) {
        --fLevelInUse;
    }
    --fCount;
    ++fStamp;
    found->destroy();
    return true;
}
