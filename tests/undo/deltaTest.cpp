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

TEST(DeltaComposites, UndoLastToFirstRedoFirstToLastAndMergeIntoTheLastChild)
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

    TdeltaComposite absorbing;
    EXPECT_TRUE(absorbing.merge(nullptr)) << "merging never refuses";
    EXPECT_EQ(absorbing.childCount(), 0u);
    absorbing.merge(new TabsorbingDelta(&user, "drag"));
    TnamedDelta same(&user, "drag");
    EXPECT_TRUE(absorbing.merge(&same)) << "absorbed by the last child";
    EXPECT_EQ(absorbing.childCount(), 1u);
    absorbing.merge(new TnamedDelta(&user, "other"));
    EXPECT_EQ(absorbing.childCount(), 2u);
    EXPECT_EQ(static_cast<TnamedDelta*>(absorbing.child(1))->fName, "other");
    EXPECT_EQ(absorbing.child(5), nullptr);
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

TEST(DeltaTypes, CastsAndFactories)
{
    TdeltaComposite step;
    EXPECT_EQ(keelCast<TdeltaComposite>(static_cast<Tdelta*>(&step)), &step);
    EXPECT_EQ(static_cast<Tdelta&>(step).cast(TdeltaTmeta), static_cast<void*>(&step));
    TloggingUser user;
    EXPECT_EQ(TnamedDelta(&user, "p").cast(TdeltaCompositeTmeta), nullptr);
    EXPECT_EQ(Tdelta::construct(nullptr), nullptr);
    EXPECT_EQ(Tdelta::construct(TserverMsgTmeta), nullptr) << "not a delta type";
    EXPECT_EQ(Tdelta::construct(TdeltaTmeta), nullptr) << "a plain delta needs a user: no factory";
    for (Tmetaclass* composite : {TdeltaCompositeTmeta, TparamCurveDeltaCompTmeta}) {
        std::unique_ptr<Tdelta> made(Tdelta::construct(composite));
        ASSERT_NE(made, nullptr) << composite->name();
        EXPECT_EQ(made->typeof(), composite);
    }
}

}  // namespace
