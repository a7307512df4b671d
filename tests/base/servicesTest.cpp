#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

namespace {

class TtestPref : public TpreferenceItem {
public:
    explicit TtestPref(int id) { setItemType(id); }
    void commandString(Tstring& out) override { out.append("testPref;"); }
};

TEST(Preferences, LookupByNumberAndOwnershipThroughBaskets)
{
    TpreferenceItem* item = nullptr;
    EXPECT_FALSE(TglobalPrefMgr::getPrefItem(9001, item));
    EXPECT_EQ(item, nullptr);
    {
        Tbasket basket;
        auto* pref = new TtestPref(9001);
        EXPECT_TRUE(basket.addItem(pref));
        EXPECT_FALSE(basket.addItem(pref));
        ASSERT_TRUE(TglobalPrefMgr::getPrefItem(9001, item));
        EXPECT_EQ(item, pref);
        EXPECT_TRUE(isTypeOf(item->typeof(), TpreferenceItemTmeta));
    }
    EXPECT_FALSE(TglobalPrefMgr::getPrefItem(9001, item)) << "the basket's items die with it";
}

TEST(Preferences, LaterRegistrationHidesEarlierUntilRemoved)
{
    TtestPref first(9002);
    TtestPref second(9002);
    TglobalPrefMgr::addPrefItem(&first);
    TglobalPrefMgr::addPrefItem(&second);
    TpreferenceItem* item = nullptr;
    TglobalPrefMgr::getPrefItem(9002, item);
    EXPECT_EQ(item, &second);
    TglobalPrefMgr::removePrefItem(&second);
    TglobalPrefMgr::getPrefItem(9002, item);
    EXPECT_EQ(item, &first);
    EXPECT_FALSE(TglobalPrefMgr::addPrefItem(nullptr));
}

std::vector<int> sInitOrder;

// Registered by static initialisers, as libraries register theirs.
TinitBasket const sLate(
    +[] { sInitOrder.push_back(2); }, kInitLast);
TinitBasket const sEarly(
    +[] { sInitOrder.push_back(1); }, kInitFirst);

TEST(InitBaskets, RunOnceInPriorityOrder)
{
    TinitBasket::initializeAll();
    TinitBasket::initializeAll();
    EXPECT_EQ(sInitOrder, (std::vector<int>{1, 2}));
    TinitBasket const afterStart(
        +[] { sInitOrder.push_back(3); }, kInitNormal);
    EXPECT_EQ(sInitOrder, (std::vector<int>{1, 2, 3})) << "registered after initialisation: runs at once";
}

TEST(EnvironmentVariables, ParseWholeIntegersOnly)
{
    struct Case {
        char const* fText;
        int fExpected;
    };
    Case const cases[] = {{"42", 42}, {"-7", -7}, {"0x10", 16}, {"", 5}, {"12abc", 5}, {"99999999999", 5}};
    for (Case const& c : cases) {
        ::setenv("KEEL_TEST_VARIABLE", c.fText, 1);
        EXPECT_EQ(TenvironmentVariable("KEEL_TEST_VARIABLE").asInt32(5), c.fExpected) << '"' << c.fText << '"';
    }
    ::unsetenv("KEEL_TEST_VARIABLE");
    EXPECT_FALSE(TenvironmentVariable("KEEL_TEST_VARIABLE").isSet());
    EXPECT_EQ(TenvironmentVariable("KEEL_TEST_VARIABLE").asInt32(-3), -3);
    EXPECT_EQ(TenvironmentVariable(nullptr).asInt32(8), 8);
}

TEST(Strings, BuildCommandText)
{
    Tstring text("key");
    text.append("Tangent");
    text.appendChar(' ');
    text.catenateChar('-');
    text.append(nullptr);
    EXPECT_EQ(text, "keyTangent -");
    EXPECT_EQ(text.length(), 12u);
    text.set(nullptr);
    EXPECT_TRUE(text.empty());
    EXPECT_FALSE(text == nullptr);
}

TEST(SharedObjects, LastOwnerDeletesAndTheCounterIsThreadSafe)
{
    struct TtrackedObject : TsharedObject {
        explicit TtrackedObject(bool& destroyed) : fDestroyed(destroyed) {}
        ~TtrackedObject() override { fDestroyed = true; }
        bool& fDestroyed;
    };
    bool destroyed = false;
    auto* object = new TtrackedObject(destroyed);
    object->ref();
    object->ref();
    object->unref();
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(object->refCount(), 1);
    object->unref();
    EXPECT_TRUE(destroyed);

    TmtRefCounter counter;
    EXPECT_EQ(counter.remove(), 0) << "never negative";
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&counter] {
            for (int i = 0; i < 10000; ++i) {
                counter.add();
            }
        });
    }
    for (std::thread& t : threads) {
        t.join();
    }
    EXPECT_EQ(counter.count(), 40000);
}

TEST(MessageBoard, InitialisedOnce)
{
    TmessageCenter::messageBoardInit();
    TclientServer* board = TmessageCenter::fsMessageBoard;
    ASSERT_NE(board, nullptr);
    TmessageCenter::messageBoardInit();
    EXPECT_EQ(TmessageCenter::fsMessageBoard, board);
}

TEST(BitFields, BitNumbersOutOfRangeAreIgnored)
{
    TbitField32 bits;
    bits.set(3);
    bits.set(40);
    EXPECT_TRUE(bits.isSet(3));
    EXPECT_FALSE(bits.isSet(40));
    EXPECT_EQ(bits.word(), 8u);
    TbitField64 wide;
    wide.set(63);
    EXPECT_TRUE(wide.isSet(63));
    wide.setTo(63, false);
    EXPECT_EQ(wide.word(), 0u);
}

}  // namespace
