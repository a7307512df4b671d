#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <random>

using keeltest::curveState;

namespace {

// Direct edits that record nothing: what a host asks the accountant about.
void unrecordedEdit(TparamCurve& curve, std::mt19937& random)
{
    std::uniform_real_distribution<double> value(-3.0, 3.0);
    std::uniform_int_distribution<int> frame(0, 40);
    unsigned const n = curve.keyframeCount();
    unsigned const at = n > 0 ? unsigned(random() % n) : 0;
    Tkeyframe* key = curve.keyframe(at);
    switch (random() % 6) {
    case 0: curve.add(Tkeyframe(float(frame(random)) / 8.0f, value(random), kTangentSpline, kTangentFixed)); break;
    case 1: curve.remove(at); break;
    case 2: curve.setValue(at, value(random)); break;
    case 3: curve.setTangentType(at, kTangentFlat, kTangentLinear); break;
    case 4:
        if (key != nullptr) {
            key->setTanOut(1.0f, float(value(random)));  // a key object written directly
            curve.invalidateCache();
        }
        break;
    default: {
        unsigned index = 0;
        TtimeValue const to(float(frame(random)) / 8.0f + 0.0625f);
        if (key != nullptr && !curve.find(to, index)) {
            Tkeyframe moved(*key);
            moved.setTime(to);
            curve.remove(at);
            curve.insert(moved, true, false);
        }
        break;
    }
    }
}

// The records of an audited change undo to the snapshot exactly and redo to
// the edited curve exactly, whatever the edits were.
TEST(KeyAccountant, AuditedChangesUndoAndRedoExactly)
{
    std::mt19937 random(11);
    for (int sequence = 0; sequence < 300; ++sequence) {
        auto curve = keeltest::floatCurve({{0.0f, 1.0}, {1.0f, -1.0}, {2.5f, 2.0}, {4.0f, 0.0}});
        curve->setTangentType(1, kTangentSpline, kTangentClamped);
        std::string const before = curveState(*curve);
        TkeyframeAccountant accountant;
        ASSERT_EQ(accountant.addCurve(*curve), 0u);
        for (int e = 1 + int(random() % 6); e > 0; --e) {
            unrecordedEdit(*curve, random);
        }
        std::string const after = curveState(*curve);
        EXPECT_EQ(accountant.audit(), before != after) << sequence;
        TparamCurveDeltaComp step;
        if (!accountant.done(0, step)) {
            continue;
        }
        ASSERT_TRUE(step.undo());
        ASSERT_EQ(curveState(*curve), before) << "sequence " << sequence;
        ASSERT_TRUE(step.redo());
        ASSERT_EQ(curveState(*curve), after) << "sequence " << sequence;
    }
}

TEST(KeyAccountant, ListsCurvesOnceAndHandsOutNothingUnchanged)
{
    auto a = keeltest::floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    auto b = keeltest::tickCurve({{0, 1.0}});
    TkeyframeAccountant accountant;
    EXPECT_EQ(accountant.addCurve(*a), 0u);
    EXPECT_EQ(accountant.addCurve(*b), 1u);
    EXPECT_EQ(accountant.addCurve(*a), 0u) << "listed once";
    EXPECT_EQ(accountant.numCurves(), 2u);
    EXPECT_EQ(accountant.curve(2), nullptr);
    TparamCurveDeltaComp step;
    EXPECT_FALSE(accountant.done(0, step)) << "not audited";
    EXPECT_FALSE(accountant.audit());
    EXPECT_TRUE(accountant.hasAudited());
    EXPECT_FALSE(accountant.done(0, step)) << "nothing changed";
    EXPECT_EQ(step.length(), 0u);
}

// A key moved in time is a removal plus an addition; undone lists the
// records last to first, marked undone, for observers.
TEST(KeyAccountant, MovesAndTheUndoneList)
{
    auto curve = keeltest::floatCurve({{0.0f, 1.0}, {1.0f, 2.0}, {2.0f, 3.0}});
    TkeyframeAccountant accountant;
    accountant.addCurve(*curve);
    curve->setTime(1, TtimeValue(1.5f));
    curve->setValue(2, 7.0);
    ASSERT_TRUE(accountant.audit());
    ASSERT_EQ(accountant.numChanges(0), 3u);
    TparamCurveDeltaComp done;
    TparamCurveDeltaComp undone;
    ASSERT_TRUE(accountant.done(0, done));
    ASSERT_TRUE(accountant.undone(0, undone));
    using Tkind = TPCDaddRemoveKey::TdeltaType;
    Tkind const expected[] = {TPCDaddRemoveKey::kRemoved, TPCDaddRemoveKey::kReplaced, TPCDaddRemoveKey::kAdded};
    for (unsigned i = 0; i < 3; ++i) {
        auto const* forward = keelCast<TPCDaddRemoveKey>(done.delta(i));
        auto const* backward = keelCast<TPCDaddRemoveKey>(undone.delta(2 - i));
        ASSERT_NE(forward, nullptr);
        ASSERT_NE(backward, nullptr);
        EXPECT_EQ(forward->storedType(), expected[i]);
        EXPECT_EQ(backward->storedType(), expected[i]);
        EXPECT_TRUE(backward->isUndone());
    }
    TparamCurveDeltaComp bad;
    EXPECT_FALSE(accountant.diff(0, 3, false, bad));
    EXPECT_FALSE(accountant.diff(5, 0, false, bad));
}

class TboardLog : public Tclient {
public:
    static void heard(Tclient* client, TclientServer*, TserverMsg const&) { ++static_cast<TboardLog*>(client)->fCount; }
    int fCount = 0;
};

TEST(KeyAccountant, PostsOnlyAnAuditedChangeWithMessagingOn)
{
    auto curve = keeltest::floatCurve({{0.0f, 1.0}});
    TboardLog heard;
    curve->addClient(&heard, TparamCurveDeltaMsgTmeta, &TboardLog::heard);
    TkeyframeAccountant accountant;
    accountant.addCurve(*curve);
    curve->setValue(0, 2.0);
    TparamCurveDeltaUser::enableDeltaMessaging(true);
    accountant.postCurveMessages(0, false);
    EXPECT_EQ(heard.fCount, 0) << "not audited yet";
    accountant.audit();
    accountant.postAllMessages(false);
    accountant.postCurveMessages(0, true);
    EXPECT_EQ(heard.fCount, 2) << "one for the change, one for taking it back (the board hears the rest)";
    TparamCurveDeltaUser::enableDeltaMessaging(false);
    accountant.postCurveMessages(0, false);
    EXPECT_EQ(heard.fCount, 2) << "messaging off";
    curve->removeClient(&heard);
}

}  // namespace
