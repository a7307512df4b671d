#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <memory>

#include <string>
#include <vector>

namespace {

// A user that logs which deltas it was asked to undo and redo.
class TloggingUser : public TdeltaUser {
public:
    std::vector<std::string> fLog;
    bool undoDelta(Tdelta* delta) override;
    bool redoDelta(Tdelta* delta) override;
    using TdeltaUser::setPendingDelta;
};

class TnamedDelta : public Tdelta {
public:
    TnamedDelta(TloggingUser* user, std::string name, std::vector<std::string>* deaths = nullptr)
        : Tdelta(user), fName(std::move(name)), fDeaths(deaths)
    {
    }
    ~TnamedDelta() override
    {
        if (fDeaths != nullptr) {
            fDeaths->push_back(fName);
        }
    }
    std::string fName;
    std::vector<std::string>* fDeaths;
};

bool TloggingUser::undoDelta(Tdelta* delta)
{
    fLog.push_back("undo " + static_cast<TnamedDelta*>(delta)->fName);
    return true;
}

bool TloggingUser::redoDelta(Tdelta* delta)
{
    fLog.push_back("redo " + static_cast<TnamedDelta*>(delta)->fName);
    return true;
}

// A delta that absorbs any other delta named like itself.
class TabsorbingDelta : public TnamedDelta {
public:
    using TnamedDelta::TnamedDelta;
    bool merge(Tdelta* other) override { return static_cast<TnamedDelta*>(other)->fName == fName; }
};

TEST(DeltaState, UndoAndRedoFlipTheUndoneBit)
{
    TloggingUser user;
    TnamedDelta delta(&user, "a");
    EXPECT_FALSE(delta.isUndone());
    EXPECT_TRUE(delta.undo());
    EXPECT_TRUE(delta.isUndone());
    EXPECT_EQ(delta.flags(), 1u);
    EXPECT_TRUE(delta.redo());
    EXPECT_FALSE(delta.isUndone());
    EXPECT_EQ(user.fLog, (std::vector<std::string>{"undo a", "redo a"}));
    EXPECT_FALSE(delta.merge(&delta));

    Tdelta orphan(nullptr);
    EXPECT_FALSE(orphan.undo()) << "no user to act on";
    EXPECT_TRUE(orphan.isUndone());
}

TEST(DeltaComposites, UndoLastToFirstRedoFirstToLast)
{
    TloggingUser user;
    TdeltaComposite step;
    EXPECT_TRUE(step.undo()) << "an empty step does nothing";
    for (char const* name : {"first", "second", "third"}) {
        step.merge(new TnamedDelta(&user, name));
    }
    step.undo();
    step.redo();
    EXPECT_EQ(user.fLog, (std::vector<std::string>{"undo third", "undo second", "undo first", "redo first",
                                                   "redo second", "redo third"}));
    EXPECT_FALSE(step.isUndone()) << "the composite leaves its own bit alone";
}

TEST(DeltaComposites, MergeNeverRefuses)
{
    TloggingUser user;
    TdeltaComposite step;
    EXPECT_TRUE(step.merge(nullptr));
    EXPECT_EQ(step.childCount(), 0u);
    step.merge(new TabsorbingDelta(&user, "drag"));
    TnamedDelta same(&user, "drag");
    EXPECT_TRUE(step.merge(&same)) << "absorbed by the last child";
    EXPECT_EQ(step.childCount(), 1u);
    step.merge(new TnamedDelta(&user, "other"));
    EXPECT_EQ(step.childCount(), 2u);
    EXPECT_EQ(static_cast<TnamedDelta*>(step.child(1))->fName, "other");
    EXPECT_EQ(step.child(5), nullptr);
}

class TundoneComposite : public TdeltaComposite {
public:
    void markUndone() { setUndone(true); }
};

TEST(DeltaComposites, DestructionOrderFollowsTheUndoneBit)
{
    TloggingUser user;
    std::vector<std::string> deaths;
    {
        TdeltaComposite inEffect;
        inEffect.merge(new TnamedDelta(&user, "1", &deaths));
        inEffect.merge(new TnamedDelta(&user, "2", &deaths));
    }
    EXPECT_EQ(deaths, (std::vector<std::string>{"1", "2"}));
    deaths.clear();
    {
        TundoneComposite undone;
        undone.merge(new TnamedDelta(&user, "1", &deaths));
        undone.merge(new TnamedDelta(&user, "2", &deaths));
        undone.markUndone();
    }
    EXPECT_EQ(deaths, (std::vector<std::string>{"2", "1"}));
}

TEST(DeltaUsers, ModificationHandsOutThePendingDelta)
{
    TloggingUser user;
    EXPECT_FALSE(user.isMod());
    EXPECT_EQ(user.endMod(), nullptr);
    user.beginMod();
    user.beginMod();  // a bit, not a counter
    EXPECT_TRUE(user.isMod());
    auto* delta = new TnamedDelta(&user, "x");
    user.setPendingDelta(delta);
    Tdelta* handed = user.endMod();
    EXPECT_EQ(handed, delta);
    EXPECT_FALSE(user.isMod());
    EXPECT_EQ(user.endMod(), nullptr);
    delete handed;

    std::vector<std::string> deaths;
    {
        TloggingUser dying;
        dying.setPendingDelta(new TnamedDelta(&dying, "left", &deaths));
    }
    EXPECT_EQ(deaths, (std::vector<std::string>{"left"})) << "a user deletes what it still holds";
}

TEST(DeltaTypes, RecordsAndFactories)
{
    EXPECT_TRUE(TdeltaCompositeTmeta->istype(TdeltaTmeta));
    TdeltaComposite step;
    Tdelta* asDelta = &step;
    EXPECT_EQ(keelCast<TdeltaComposite>(asDelta), &step);
    EXPECT_EQ(asDelta->cast(TdeltaTmeta), static_cast<void*>(&step));
    TloggingUser user;
    TnamedDelta plain(&user, "p");
    EXPECT_EQ(plain.cast(TdeltaCompositeTmeta), nullptr);
    EXPECT_EQ(Tdelta::construct(nullptr), nullptr);
    EXPECT_EQ(Tdelta::construct(TserverMsgTmeta), nullptr) << "not a delta type";
    EXPECT_EQ(Tdelta::construct(TdeltaTmeta), nullptr) << "a plain delta needs a user: no factory";
    for (Tmetaclass* composite : {TdeltaCompositeTmeta, TparamCurveDeltaCompTmeta}) {
        std::unique_ptr<Tdelta> made(Tdelta::construct(composite));
        ASSERT_NE(made, nullptr) << composite->name();
        EXPECT_EQ(made->typeof(), composite);
    }
}

TEST(DeltaArrays, SlicesSwapsAndArraysOfArrays)
{
    TloggingUser user;
    TnamedDelta a(&user, "a");
    TnamedDelta b(&user, "b");
    TnamedDelta c(&user, "c");
    TdeltaPtrArray first;
    Tdelta* const three[] = {&a, &b, &c};
    first.addLast(three, 3);
    TdeltaPtrArray second;
    second.copy(first, 1, 5);
    EXPECT_EQ(second.count(), 2u);
    EXPECT_EQ(second[0], &b);
    second.catenate(first, 0, 1);
    EXPECT_EQ(second[2], &a);
    second.catenate(TdeltaPtrArray());
    EXPECT_EQ(second.count(), 3u);
    second.copy(TdeltaPtrArray());
    EXPECT_TRUE(second.empty()) << "copying an empty array empties";
    second.createAndSet(&c, 0, 2);
    EXPECT_EQ(second.count(), 2u);
    first.swap(second);
    EXPECT_EQ(first.count(), 2u);
    EXPECT_EQ(second.count(), 3u);
    EXPECT_TRUE(second.remove(&b));
    unsigned index = 0;
    EXPECT_FALSE(second.find(&b, index));
    second.insert(second.begin(), 0, 2);  // from itself
    EXPECT_EQ(second.count(), 4u);
    EXPECT_EQ(second[0], &a);
    EXPECT_EQ(second[1], &c);

    TdeltaPtrArrayArray lists;
    lists.addLast(first);
    lists.addLast(second);
    lists.addLast(lists[0]);  // an element of itself
    EXPECT_EQ(lists.count(), 3u);
    EXPECT_EQ(lists[2], first);
    TdeltaPtrArrayArray copy(lists);
    EXPECT_EQ(copy[1].count(), 4u);
    EXPECT_TRUE(copy.find(second, index));
    EXPECT_EQ(index, 1u);
    copy.catenate(copy);
    EXPECT_EQ(copy.count(), 6u);
}

}  // namespace
