#include "support/curveBuilders.h"

#include <gtest/gtest.h>

using keeltest::floatCurve;
using keeltest::tickCurve;

namespace {

TEST(KeyHandles, FollowTheirKeyAcrossReindexing)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 1.0}, {2.0f, 2.0}});
    TkeyframeHandle handle(curve.get(), 2u, true);
    EXPECT_EQ(handle.index(), 2);
    curve->remove(0);
    EXPECT_EQ(handle.index(), 1);
    curve->add(Tkeyframe(-1.0f, 0.0, kTangentFixed, kTangentFixed));
    curve->add(Tkeyframe(-2.0f, 0.0, kTangentFixed, kTangentFixed));
    EXPECT_EQ(handle.index(), 3);
    EXPECT_EQ(handle.value(), 2.0);
    EXPECT_EQ(handle.timeValue().seconds(), 2.0);
    EXPECT_FALSE(handle.timeValue().isTicks());
}

TEST(KeyHandles, ConstructionByTimeFindsOnlyExactKeysAndSecondsGoThroughTheClip)
{
    auto curve = tickCurve({{0, 0.0}, {12000, 1.0}});
    TkeyframeHandle atKey(curve.get(), TanimTime::fromTicks(12000), false);
    EXPECT_TRUE(atKey.present());
    EXPECT_DOUBLE_EQ(atKey.seconds(), 2.0);
    EXPECT_TRUE(atKey.timeValue().isTicks());
    TkeyframeHandle between(curve.get(), TanimTime::fromTicks(6000), false);
    EXPECT_EQ(between.keyframe(), nullptr);
    EXPECT_FALSE(between.present());
    EXPECT_EQ(between.index(), -1);
    EXPECT_EQ(between.timeValue(), TtimeValue());
    EXPECT_EQ(between.value(), 0.0);
    float x = 0, y = 0;
    EXPECT_FALSE(between.getTanIn(x, y));
    EXPECT_TRUE(TkeyframeHandle(curve.get(), 2.0f, false).present()) << "a real time finds the tick key at that time";
    EXPECT_EQ(TkeyframeHandle(nullptr, 0u, false).index(), -1);
    EXPECT_EQ(TkeyframeHandle(curve.get(), 7u, false).keyframe(), nullptr);
    TkeyframeHandle empty;
    EXPECT_EQ(empty.seconds(), 0.0);
    EXPECT_EQ(empty.paramCurve(), nullptr);

    TNLEData const clip(6000, 0, 1.0);
    curve->setNLEData(&clip);
    EXPECT_DOUBLE_EQ(atKey.seconds(), 1.0) << "seconds go through the clip";
    EXPECT_EQ(atKey.timeValue().animTime().ticks(), 12000) << "the stored time";
    EXPECT_EQ(atKey.index(), 1);
    curve->setNLEData(nullptr);
}

TEST(KeyHandles, KeyDeletionReinsertionAndCurveDeletion)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 5.0}});
    Tkeyframe* key = curve->keyframe(1);
    TkeyframeHandle client(curve.get(), key, true);
    TkeyframeHandle bystander(curve.get(), key, false);
    EXPECT_TRUE(client == bystander);
    EXPECT_EQ(client.data()->flags(),
              TkeyframeHandle::ThandleData::kPresentMask | TkeyframeHandle::ThandleData::kRegisteredMask);

    // Take the key out and put it back the way an undo record does.
    Tkeyframe saved(*key);
    curve->remove(1);
    EXPECT_FALSE(client.present());
    EXPECT_EQ(client.timeValue().seconds(), 1.0) << "the deleted key's time still reads";
    EXPECT_EQ(client.value(), 5.0);
    EXPECT_FALSE(client == bystander) << "only one of them saw the deletion";

    auto* revived = new Tkeyframe(saved);
    TkeyframeHandle onRevived(curve.get(), revived, true);
    EXPECT_TRUE(curve->addRemovedKey(revived));
    EXPECT_TRUE(onRevived.present());
    EXPECT_EQ(onRevived.index(), 1);

    curve.reset();
    EXPECT_EQ(onRevived.paramCurve(), nullptr) << "deleting the curve empties registered handles";
    EXPECT_FALSE(onRevived.present());
    EXPECT_EQ(onRevived.index(), -1);
    EXPECT_EQ(onRevived.timeValue(), TtimeValue());
}

// Keys that leave without a message (all keys at once, assignment) or that
// are deleted without an undo record are never read through a handle again,
// registered or not; the sanitizer pass checks that nothing is read.
TEST(KeyHandles, HandlesNeverReadDeletedKeys)
{
    using Tdrop = void (*)(TparamCurve&);
    Tdrop const drops[] = {
        [](TparamCurve& curve) { curve.removeAllKeys(); },
        [](TparamCurve& curve) {
            curve = *floatCurve({{1.0f, 7.0}});
        },
        [](TparamCurve& curve) { curve.remove(1); },
    };
    for (Tdrop drop : drops) {
        auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 5.0}});
        TkeyframeHandle client(curve.get(), 1u, true);
        TkeyframeHandle bystander(curve.get(), 1u, false);
        drop(*curve);
        curve->add(Tkeyframe(1.0f, 9.0, kTangentFixed, kTangentFixed));  // a new key at the same time
        for (TkeyframeHandle const* handle : {&client, &bystander}) {
            float x = 0;
            float y = 0;
            EXPECT_FALSE(handle->present());
            EXPECT_EQ(handle->keyframe(), nullptr);
            EXPECT_FALSE(handle->getTanIn(x, y));
            EXPECT_NE(handle->value(), 9.0) << "never the new key's value";
        }
        EXPECT_EQ(bystander.index(), -1);
    }
}

// A key removed inside a modification lives on in its undo record: its
// handle still answers the key's tangents.
TEST(KeyHandles, RemovedKeysHeldByARecordAnswerTheirTangents)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 5.0}});
    curve->keyframe(1)->setTanIn(2.0f, 3.0f);
    TkeyframeHandle client(curve.get(), 1u, true);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    curve->remove(1);
    user.endParamCurveMod(*curve);
    float x = 0;
    float y = 0;
    EXPECT_FALSE(client.present());
    ASSERT_TRUE(client.getTanIn(x, y));
    EXPECT_EQ(x, 2.0f);
    EXPECT_EQ(y, 3.0f);
    user.undoPC();
    EXPECT_TRUE(client.present());
}

TEST(KeyHandles, CopiesShareDataUntilMadeUnique)
{
    auto curve = floatCurve({{0.0f, 3.0}});
    TkeyframeHandle original(curve.get(), 0u, false);
    TkeyframeHandle copy(original, true);
    EXPECT_EQ(original.data(), copy.data());
    EXPECT_EQ(copy.data()->refCount(), 2u);
    EXPECT_TRUE(curve->hasClient(copy.data()));

    copy.ensureUniqueData();
    EXPECT_NE(original.data(), copy.data());
    EXPECT_EQ(original.data()->refCount(), 1u);
    EXPECT_EQ(copy.data()->flags(), TkeyframeHandle::ThandleData::kPresentMask) << "the copy is not registered";
    EXPECT_TRUE(original == copy) << "same key, same curve, same state";
    copy.makeClient();
    EXPECT_TRUE(curve->hasClient(copy.data()));
    copy.removeData();
    EXPECT_EQ(copy.data(), nullptr);
    EXPECT_FALSE(original == copy);
    copy.ensureUniqueData();
    ASSERT_NE(copy.data(), nullptr);
    EXPECT_EQ(copy.keyframe(), nullptr);

    TkeyframeHandle assigned;
    assigned = original;
    EXPECT_EQ(assigned.data(), original.data());
    assigned = assigned;
    EXPECT_EQ(original.data()->refCount(), 2u);
}

}  // namespace
