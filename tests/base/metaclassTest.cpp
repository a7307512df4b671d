#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

// A small family registered the way engine classes are: a root message, a
// child and a grandchild, and a constructible class.
KEEL_DECLARE_METACLASS(TtestMsg);
KEEL_DECLARE_METACLASS(TtestChildMsg);
KEEL_DECLARE_METACLASS(TtestGrandchildMsg);
class TtestMsg : public TserverMsg {
    KEEL_TYPED(TtestMsg)
};
class TtestChildMsg : public TtestMsg {
    KEEL_TYPED(TtestChildMsg)
};
class TtestGrandchildMsg : public TtestChildMsg {
    KEEL_TYPED(TtestGrandchildMsg)
public:
    int fPayload = 42;
};

KEEL_DEFINE_METACLASS(TtestMsg, &TserverMsgTmeta);
KEEL_DEFINE_METACLASS(TtestChildMsg, &TtestMsgTmeta);
KEEL_DEFINE_CONSTRUCTIBLE_METACLASS(TtestGrandchildMsg, &TtestChildMsgTmeta);

namespace {

TEST(MetaclassRegistration, StaticInitialisersFillTheSlotsAndLinkParents)
{
    ASSERT_NE(TtestMsgTmeta, nullptr);
    EXPECT_EQ(TtestMsgTmeta, &metaTtestMsg);
    EXPECT_STREQ(TtestGrandchildMsgTmeta->name(), "TtestGrandchildMsg");
    EXPECT_EQ(TtestGrandchildMsgTmeta->instanceSize(), sizeof(TtestGrandchildMsg));
    EXPECT_EQ(Tmetaclass::find("TtestChildMsg"), TtestChildMsgTmeta);
    EXPECT_EQ(Tmetaclass::find("TserverModifiedMsg"), TserverModifiedMsgTmeta);
    EXPECT_EQ(Tmetaclass::find("NoSuchClass"), nullptr);
    EXPECT_EQ(Tmetaclass::find(nullptr), nullptr);

    EXPECT_TRUE(TtestGrandchildMsgTmeta->istype(TtestChildMsgTmeta));
    EXPECT_TRUE(TtestGrandchildMsgTmeta->istype(TtestMsgTmeta));
    EXPECT_TRUE(TtestGrandchildMsgTmeta->istype(TserverMsgTmeta));
    EXPECT_FALSE(TtestMsgTmeta->istype(TtestGrandchildMsgTmeta)) << "a parent is not its child";
    EXPECT_FALSE(TtestMsgTmeta->istype(TserverModifiedMsgTmeta)) << "siblings are unrelated";
    EXPECT_FALSE(TtestMsgTmeta->istype(nullptr));
}

TEST(MetaclassCast, ChecksTheDynamicType)
{
    TtestGrandchildMsg grandchild;
    TserverMsg* asBase = &grandchild;
    EXPECT_EQ(asBase->typeof(), TtestGrandchildMsgTmeta);
    EXPECT_EQ(keelCast<TtestChildMsg>(asBase), &grandchild);
    EXPECT_EQ(asBase->cast(TtestMsgTmeta), static_cast<void*>(&grandchild));
    TtestMsg plain;
    TserverMsg* other = &plain;
    EXPECT_EQ(keelCast<TtestChildMsg>(other), nullptr);
    EXPECT_EQ(other->cast(TtestChildMsgTmeta), nullptr);
    EXPECT_EQ(keelCast<TtestChildMsg>(static_cast<TserverMsg*>(nullptr)), nullptr);
}

TEST(MetaclassConstruct, OnlyClassesWithAProcedureConstruct)
{
    EXPECT_EQ(TtestMsgTmeta->construct(), nullptr);
    auto* made = static_cast<TtestGrandchildMsg*>(Tmetaclass::construct(TtestGrandchildMsgTmeta));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->fPayload, 42);
    delete made;

    alignas(TtestGrandchildMsg) unsigned char place[sizeof(TtestGrandchildMsg)];
    auto* inPlace = static_cast<TtestGrandchildMsg*>(Tmetaclass::constructInPlace(TtestGrandchildMsgTmeta, place));
    ASSERT_EQ(static_cast<void*>(inPlace), static_cast<void*>(place));
    EXPECT_EQ(inPlace->typeof(), TtestGrandchildMsgTmeta);
    inPlace->~TtestGrandchildMsg();
    EXPECT_EQ(Tmetaclass::constructInPlace(nullptr, place), nullptr);
}

TEST(MetaclassLifetime, DestroyingARecordUnregistersIt)
{
    Tmetaclass* slot = nullptr;
    {
        Tmetaclass temporary(&slot, "TtemporaryClass", 4, nullptr, 0, false, &TserverMsgTmeta);
        EXPECT_EQ(slot, &temporary);
        EXPECT_EQ(Tmetaclass::find("TtemporaryClass"), &temporary);
        EXPECT_TRUE(temporary.istype(TserverMsgTmeta));
    }
    EXPECT_EQ(slot, nullptr);
    EXPECT_EQ(Tmetaclass::find("TtemporaryClass"), nullptr);
}

}  // namespace
