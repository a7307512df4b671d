#pragma once

#include "keelanim/base/export.h"
#include "keelanim/base/metaclass.h"

#include <cstdint>

// An ordered dictionary of nodes: a skip list.
//
// Nodes carry their own ordering (compare), their value (setValue) and the
// forward links of the list. The dictionary is itself the head node: its
// forward(0) is the first node, and following forward(0) from any node walks
// the dictionary in ascending order.
//
// Ownership: insertNode never stores the node it is given; it stores a clone
// (clone(levels)) that the dictionary owns and destroys (destroy()). The
// probe passed to insert, search and remove may be a temporary.
//
// A Tbookmark remembers where a search ended; handing it to insertNode lets an
// insertion right after a search skip the second search. A bookmark that no
// longer matches the dictionary (it was changed in between) is ignored.

class TdictionaryNode;

// Type records of the two node classes, parents of the records of the
// engine's own dictionaries. The classes themselves answer no type: their
// subclasses do.
extern KEEL_API Tmetaclass* TdictionaryNodeTmeta;
extern KEEL_API Tmetaclass* TdictionaryTmeta;

class KEEL_API TdictionaryNode {
public:
    // A node with `levels` forward links, all null (at least one).
    explicit TdictionaryNode(int levels = 1);
    TdictionaryNode(TdictionaryNode const&) = delete;
    TdictionaryNode& operator=(TdictionaryNode const&) = delete;
    virtual ~TdictionaryNode();

    // -1, 0 or 1 as this node orders before, with or after `other`.
    virtual int compare(TdictionaryNode& other);
    // Takes the value of `other`, which compares equal to this node.
    virtual void setValue(TdictionaryNode& other);
    // A new node with this node's key and value and `levels` null links.
    virtual TdictionaryNode* clone(int levels);
    // Releases a node that the dictionary owns.
    virtual void destroy();
    // The next node at `level`, or null (also for a level the node lacks).
    virtual TdictionaryNode* forward(int level);

    int levels() const { return fLevels; }

protected:
    friend class Tdictionary;
    void setForward(int level, TdictionaryNode* node);

private:
    int fLevels;
    TdictionaryNode** fForward;
};

class KEEL_API Tbookmark {
public:
    static constexpr int kMaxLevels = 24;

    Tbookmark() = default;
    bool valid() const { return fOwner != nullptr; }
    void invalidate() { fOwner = nullptr; }

private:
    friend class Tdictionary;
    class Tdictionary const* fOwner = nullptr;
    std::uint64_t fStamp = 0;
    TdictionaryNode* fPath[kMaxLevels] = {};
};

class KEEL_API Tdictionary : public TdictionaryNode {
public:
    Tdictionary();
    ~Tdictionary() override;

    // Inserts a clone of `node`; when a node that compares equal exists it
    // takes the value of `node` instead (setValue). Answers the stored node,
    // or null when the clone could not be made.
    TdictionaryNode* insertNode(TdictionaryNode& node);
    TdictionaryNode* insertNode(TdictionaryNode& node, Tbookmark& bookmark);
    // The stored node that compares equal to `node`, or null. The bookmark
    // form remembers the position for a following insertNode.
    TdictionaryNode* searchNode(TdictionaryNode& node);
    TdictionaryNode* searchNode(TdictionaryNode& node, Tbookmark& bookmark);
    // Removes and destroys the stored node that compares equal; false when none.
    bool removeNode(TdictionaryNode& node);

    TdictionaryNode* first() { return forward(0); }
    unsigned count() const { return fCount; }
    bool empty() const { return fCount == 0; }
    // Destroys every node.
    void reset();

private:
    void search(TdictionaryNode& probe, Tbookmark& bookmark);
    int randomLevel();

    int fLevelInUse = 1;
    unsigned fCount = 0;
    std::uint64_t fStamp = 1;
    std::uint64_t fRandomState = 0x9E3779B97F4A7C15ull;
};
