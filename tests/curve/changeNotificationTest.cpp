#include "support/curveBuilders.h"

#include <gtest/gtest.h>

using keeltest::floatCurve;
using keeltest::TmessageLog;

namespace {

// A helper that answers every question with a fixed reply.
class TanswerHelper : public Tclient {
public:
    explicit TanswerHelper(std::uint32_t reply) : fReply(reply) {}
    std::uint32_t fReply;
    std::vector<int> fKinds;
    std::vector<std::uint32_t> fEndAnswers;

    static void answer(Tclient* client, TclientServer*, TserverMsg const& msg)
    {
        auto* self = static_cast<TanswerHelper*>(client);
        auto const* question = keelCast<TparamCurveHelperMsg>(&msg);
        self->fKinds.push_back(question->kind());
        if (question->kind() == TparamCurveHelperMsg::kEndChange) {
            self->fEndAnswers.push_back(question->answer().word());
            return;
        }
        question->setAnswer(TbitField32(self->fReply));
    }
};

class ChangeBracket : public ::testing::Test {
protected:
    void TearDown() override
    {
        TparamCurve::removeGlobalClient(&fGlobal);
        TparamCurve::globalMsgDepot().removeClient(&fGlobal);
        TparamCurve::globalMsgDepot().removeClient(&fHelper);
        TparamCurve::fsModelUpdatesHook = nullptr;
    }
    TmessageLog fGlobal;
    TanswerHelper fHelper{0};
};

TEST_F(ChangeBracket, LockedChannelsRefuseWithoutSideEffects)
{
    auto curve = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    TparamCurve::addGlobalClient(&fGlobal, &TmessageLog::heard);
    curve->setLockedParams(TparamCurve::kChangeValue);
    EXPECT_FALSE(curve->setValue(0, 5.0));
    EXPECT_EQ(curve->value(0), 1.0);
    EXPECT_TRUE(curve->setTime(0, TtimeValue(-1.0f))) << "time is not locked";
    curve->setLockedParams(TparamCurve::kChangeTime);
    EXPECT_FALSE(curve->remove(0)) << "removal touches every parameter";
    EXPECT_FALSE(curve->add(Tkeyframe(3.0f, 1.0, kTangentFixed, kTangentFixed)));
    EXPECT_EQ(curve->keyframeCount(), 2u);
    EXPECT_EQ(curve->changeDepth(), 0u);
    EXPECT_EQ(fGlobal.count(TparamCurveChangedMsgTmeta), 1u) << "only the allowed edit was reported";
}

TEST_F(ChangeBracket, CurvesThatAskTheirHelpersAndReferencedCurvesNeedPermission)
{
    auto asking = floatCurve({{0.0f, 1.0}});
    asking->setCurveFlag(TparamCurve::kAskHelpersBit, true);
    auto referenced = floatCurve({{0.0f, 1.0}});
    referenced->setCurveFlag(TparamCurve::kReferencedBit, true);
    EXPECT_FALSE(TparamCurve::refAnimCurvesEditable());
    EXPECT_FALSE(asking->setValue(0, 2.0)) << "no helper to ask";
    EXPECT_FALSE(referenced->setValue(0, 2.0));

    fHelper.fReply = TparamCurveHelperMsg::kAllowChangeBit | 1;
    TparamCurve::addGlobalHelper(&fHelper, &TanswerHelper::answer);
    EXPECT_TRUE(asking->setValue(0, 2.0));
    EXPECT_EQ(fHelper.fKinds, (std::vector<int>{2, 1, 0}));
    EXPECT_EQ(fHelper.fEndAnswers, (std::vector<std::uint32_t>{1}));

    fHelper.fReply = TparamCurveHelperMsg::kAllowChangeBit;
    EXPECT_FALSE(referenced->setValue(0, 2.0)) << "bit 2 does not allow a referenced curve";
    fHelper.fReply = TparamCurveHelperMsg::kAllowReferencedBit;
    EXPECT_TRUE(referenced->setValue(0, 2.0));
    EXPECT_EQ(fHelper.fEndAnswers.back(), 0u) << "the begin answer dropped bit 1";
}

TEST_F(ChangeBracket, NestedBracketsReportOnceAtTheOutermostEnd)
{
    auto curve = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}, {2.0f, 3.0}});
    TparamCurve::addGlobalClient(&fGlobal, &TmessageLog::heard);
    ASSERT_TRUE(curve->beginChange(0));
    curve->setValue(0, 10.0);
    curve->setValue(1, 11.0);
    curve->setValue(2, 12.0);
    EXPECT_EQ(fGlobal.fEntries.size(), 0u);
    curve->endChange(false);
    ASSERT_EQ(fGlobal.fEntries.size(), 1u);
    EXPECT_EQ(fGlobal.fEntries[0].fCurveCount, 1u);
    curve->endChange(true);  // unmatched: ignored
    EXPECT_EQ(fGlobal.fEntries.size(), 1u);
}

int sModelUpdateCalls = 0;

TEST_F(ChangeBracket, ModelUpdatesAreDisabledOncePerOutermostBracket)
{
    TparamCurve::fsModelUpdatesHook = [] { ++sModelUpdateCalls; };
    auto curve = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    sModelUpdateCalls = 0;
    curve->beginChange(0);
    curve->setValue(0, 5.0);
    curve->setValue(1, 6.0);
    curve->endChange(true);
    EXPECT_EQ(sModelUpdateCalls, 1);
    curve->setValue(0, 7.0);
    EXPECT_EQ(sModelUpdateCalls, 2);
}

TEST(CurveMessages, KindsOfTheCurvesOwnMessages)
{
    auto curve = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    TmessageLog log;
    curve->addClient(&log, TparamCurveModifiedMsgTmeta, &TmessageLog::heard);
    curve->setValue(0, 3.0);
    curve->add(Tkeyframe(2.0f, 1.0, kTangentFixed, kTangentFixed));
    curve->setBreakdown(2, true);
    curve->remove(2);
    curve->markDirty();
    std::vector<int> kinds;
    for (auto const& e : log.fEntries) {
        kinds.push_back(e.fKind);
    }
    EXPECT_EQ(kinds, (std::vector<int>{2, 0, 7, 1, 2}));
    EXPECT_EQ(log.fEntries[0].fKey, curve->keyframe(0)) << "the message's handle names the key";

    curve->setCurveFlag(TparamCurve::kSuppressMessagesBit, true);
    curve->setValue(0, 4.0);
    EXPECT_EQ(log.fEntries.size(), 5u);
    curve->setCurveFlag(TparamCurve::kForceMessagesBit, true);
    curve->setValue(0, 5.0);
    EXPECT_EQ(log.fEntries.size(), 6u) << "forced despite suppression";
    TparamCurve::fsSuppressChangeMessages = true;
    curve->setValue(0, 6.0);
    TparamCurve::fsSuppressChangeMessages = false;
    EXPECT_EQ(log.fEntries.size(), 6u);
}

// Checks, while a removal is announced, that the key is still on the curve.
class TremovalWitness : public Tclient {
public:
    TparamCurve* fCurve = nullptr;
    bool fStillThere = false;
    int fCalls = 0;
    static void heard(Tclient* client, TclientServer*, TserverMsg const& msg)
    {
        auto* self = static_cast<TremovalWitness*>(client);
        auto const* change = keelCast<TkeyframeAddDeleteMsg>(&msg);
        ++self->fCalls;
        unsigned index = 0;
        self->fStillThere = !change->added() && self->fCurve->find(change->key()->timeValue(), index) &&
                            self->fCurve->keyframe(index) == change->key();
    }
};

TEST(CurveMessages, RemovalIsAnnouncedBeforeTheKeyLeaves)
{
    auto curve = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    TremovalWitness witness;
    witness.fCurve = curve.get();
    curve->remove(0);  // no listener: nothing to announce
    curve->addClient(&witness, TkeyframeAddDeleteMsgTmeta, &TremovalWitness::heard);
    EXPECT_TRUE(curve->hasMessage(TkeyframeAddDeleteMsgTmeta));
    curve->remove(0);
    EXPECT_EQ(witness.fCalls, 1);
    EXPECT_TRUE(witness.fStillThere);
}

class MessageDepot : public ::testing::Test {
protected:
    void SetUp() override { TparamCurve::addGlobalClient(&fGlobal, &TmessageLog::heard); }
    void TearDown() override { TparamCurve::removeGlobalClient(&fGlobal); }
    TmessageLog fGlobal;
};

TEST_F(MessageDepot, NestedDelaysSendOneMessageNamingEachLiveCurveOnce)
{
    auto a = floatCurve({{0.0f, 1.0}});
    auto b = floatCurve({{0.0f, 1.0}});
    auto deleted = floatCurve({{0.0f, 1.0}});
    fGlobal.fEntries.clear();
    TparamCurve::delayMessages();
    TparamCurve::delayMessages();
    a->setValue(0, 2.0);
    b->setValue(0, 2.0);
    deleted->setValue(0, 2.0);
    a->setValue(0, 3.0);
    deleted.reset();
    TparamCurve::resumeMessagesAndUpdate();
    EXPECT_EQ(fGlobal.fEntries.size(), 0u);
    EXPECT_TRUE(TparamCurve::globalMsgDepot().isPending());
    TparamCurve::resumeMessagesAndUpdate();
    ASSERT_EQ(fGlobal.fEntries.size(), 1u);
    EXPECT_EQ(fGlobal.fEntries[0].fCurveCount, 2u) << "each curve named once, the deleted one not at all";
    EXPECT_FALSE(TparamCurve::globalMsgDepot().isPending());
    TparamCurve::resumeMessagesAndUpdate();  // unmatched: no effect
    EXPECT_EQ(TparamCurve::globalMsgDepot().delayDepth(), 0u);
}

TEST_F(MessageDepot, SuspendedChangesAreNeitherSentNorRemembered)
{
    auto a = floatCurve({{0.0f, 1.0}});
    fGlobal.fEntries.clear();
    EXPECT_FALSE(TparamCurve::suspendUpdates(true));
    TparamCurve::delayMessages();
    a->setValue(0, 2.0);
    EXPECT_TRUE(TparamCurve::suspendUpdates(false));
    TparamCurve::resumeMessagesAndUpdate();
    EXPECT_EQ(fGlobal.fEntries.size(), 0u);
}

TEST_F(MessageDepot, ChangedMessageNamesTheCurves)
{
    TparamCurveSet set;
    TparamCurve curve(true);
    set.insert(&curve);
    TparamCurveChangedMsg const msg(&set);
    EXPECT_TRUE(msg.contains(&curve));
    TparamCurveChangedMsg copy;
    EXPECT_TRUE(copy.copy(msg));
    EXPECT_EQ(copy.curves(), &set);
    EXPECT_FALSE(copy.copy(TparamCurveHelperMsg()));
    EXPECT_TRUE(TparamCurveChangedMsgTmeta->istype(TserverModifiedMsgTmeta));
    std::unique_ptr<TserverMsg> made(static_cast<TparamCurveChangedMsg*>(TparamCurveChangedMsgTmeta->construct()));
    EXPECT_NE(made, nullptr) << "the changed message can be created by type";
}

}  // namespace
