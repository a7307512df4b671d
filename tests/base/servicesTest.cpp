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
        pref->setFlags(17);
        EXPECT_TRUE(basket.addItem(pref));
        EXPECT_FALSE(basket.addItem(pref));
        ASSERT_TRUE(TglobalPrefMgr::getPrefItem(9001, item));
        EXPECT_EQ(item, pref);
        EXPECT_EQ(item->flags(), 17u);
        EXPECT_TRUE(isTypeOf(item->typeof(), TpreferenceItemTmeta));
        Tstring text;
        item->commandString(text);
        EXPECT_EQ(text, "testPref;");
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

int sInitOrder[3];
int sInitCount = 0;
void initLate()
{
    sInitOrder[sInitCount++] = 2;
}
void initEarly()
{
    sInitOrder[sInitCount++] = 1;
}
void initAfterStart()
{
    sInitOrder[sInitCount++] = 3;
}

// Registered by static initialisers, as libraries register theirs.
TinitBasket const sLate(&initLate, kInitLast);
TinitBasket const sEarly(&initEarly, kInitFirst);

TEST(InitBaskets, RunOnceInPriorityOrder)
{
    TinitBasket::initializeAll();
    TinitBasket::initializeAll();
    ASSERT_EQ(sInitCount, 2);
    EXPECT_EQ(sInitOrder[0], 1);
    EXPECT_EQ(sInitOrder[1], 2);
    TinitBasket const afterStart(&initAfterStart, kInitNormal);
    EXPECT_EQ(sInitCount, 3) << "registered after initialisation: runs at once";
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

class TtrackedObject : public TsharedObject {
public:
    explicit TtrackedObject(bool& destroyed) : fDestroyed(destroyed) {}
    ~TtrackedObject() override { fDestroyed = true; }
    bool& fDestroyed;
};

TEST(SharedObjects, LastOwnerDeletes)
{
    bool destroyed = false;
    auto* object = new TtrackedObject(destroyed);
    object->ref();
    object->ref();
    object->unref();
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(object->refCount(), 1);
    object->unref();
    EXPECT_TRUE(destroyed);
}

TEST(SharedObjects, CounterIsThreadSafeAndNeverNegative)
{
    TmtRefCounter counter;
    EXPECT_EQ(counter.remove(), 0);
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

TEST(FileConditions, HostSetsEngineReads)
{
    EXPECT_FALSE(TglobalTranslatorBase::writingFileCondition());
    TglobalTranslatorBase::setWritingFileCondition(true);
    TglobalTranslatorBase::setReadingFileCondition(true);
    EXPECT_TRUE(TglobalTranslatorBase::writingFileCondition());
    EXPECT_TRUE(TglobalTranslatorBase::readingFileCondition());
    TglobalTranslatorBase::setWritingFileCondition(false);
    TglobalTranslatorBase::setReadingFileCondition(false);
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
