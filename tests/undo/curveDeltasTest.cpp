#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using keeltest::floatCurve;

namespace {

// Records every delta message, with the curves of the records it carries.
class TdeltaListener : public Tclient {
public:
    std::vector<std::vector<Tdelta*>> fMessages;
    static void heard(Tclient* client, TclientServer*, TserverMsg const& msg)
    {
        auto* self = static_cast<TdeltaListener*>(client);
        auto const* deltaMsg = keelCast<TparamCurveDeltaMsg>(&msg);
        std::vector<Tdelta*> records;
        if (auto* step = keelCast<TparamCurveDeltaComp>(deltaMsg->deltas())) {
            for (unsigned i = 0; i < step->length(); ++i) {
                records.push_back(step->delta(i));
            }
        }
        self->fMessages.push_back(records);
    }
};

std::unique_ptr<TPCDdragKey> drag(TparamCurve* curve, TkeyframeHandle* handle, float from, double fromValue, float to,
                                  double toValue)
{
    return std::make_unique<TPCDdragKey>(handle, 0, TtimeValue(from), fromValue, 0.0, TtimeValue(to), toValue, 0.0,
                                         TparamCurveEnums::kMoveBetweenNeighbours, curve);
}

TEST(CurveDeltaRecords, TypeNumbersAndNames)
{
    TparamCurve curve(true);
    auto expectType = [&curve](TparamCurveDelta const& record, ZFn::Type type, char const* name) {
        EXPECT_EQ(record.apiType(), type) << record.typeof()->name();
        EXPECT_STREQ(record.apiTypeString(), name) << record.typeof()->name();
        EXPECT_TRUE(record.typeof()->istype(TparamCurveDeltaTmeta));
        EXPECT_EQ(record.paramCurve(), &curve);
    };
    TtimeValue const t;
    expectType(TPCDdragKey(&curve), ZFn::kKeyframeDeltaMove, "kKeyframeDeltaMove");
    expectType(TPCDscaleKey(&curve, t, t, t, t, t), ZFn::kKeyframeDeltaScale, "kKeyframeDeltaScale");
    expectType(TPCDaddRemoveKey(&curve, nullptr, TPCDaddRemoveKey::kAdded), ZFn::kKeyframeDeltaAddRemove,
               "kKeyframeDeltaAddRemove");
    expectType(TPCDinsertKey(&curve, nullptr, nullptr, nullptr), ZFn::kKeyframeDeltaAddRemove,
               "kKeyframeDeltaAddRemove");
    expectType(TPCDblockAddRemoveKey(&curve, nullptr, nullptr, t, t, kTangentFixed, kTangentFixed, false,
                                     TPCDblockAddRemoveKey::kBlockAdded),
               ZFn::kKeyframeDeltaBlockAddRemove, "kKeyframeDeltaBlockAddRemove");
    expectType(TPCDinfinityType(&curve, true, TparamCurveEnums::kConstant, TparamCurveEnums::kCycle),
               ZFn::kKeyframeDeltaInfType, "kKeyframeDeltaInfType");
    expectType(TPCDdragTan(&curve, 0u), ZFn::kKeyframeDeltaTangent, "kKeyframeDeltaTangent");
    expectType(TPCDweightedTangents(&curve, true), ZFn::kKeyframeDeltaWeighted, "kKeyframeDeltaWeighted");
    expectType(TPCDbreakdown(&curve, 0u, false), ZFn::kKeyframeDeltaBreakdown, "kKeyframeDeltaBreakdown");
    expectType(TPCDrotationInterpolation(&curve, TparamCurveEnums::kEulerAngles,
                                         TparamCurveEnums::kQuaternionTangentDependent),
               ZFn::kKeyframeDelta, "kKeyframeDelta");
    expectType(TPCDcurveDelta(&curve), ZFn::kKeyframeDelta, "kKeyframeDelta");
    EXPECT_TRUE(TPCDinsertKeyTmeta->istype(TPCDaddRemoveKeyTmeta));
}

TEST(CurveDeltaRecords, InvalidatedRecordsAreInertAndUndoneOnesReadReversed)
{
    auto curve = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    TPCDbreakdown record(curve.get(), 0u, true);
    record.invalidateParamCurve();
    EXPECT_FALSE(record.undo());
    EXPECT_FALSE(record.redo());
    EXPECT_FALSE(curve->breakdown(0));

    Tkeyframe* key = curve->keyframe(0);
    TPCDaddRemoveKey removal(curve.get(), key, TPCDaddRemoveKey::kAdded);
    removal.setIsUndone(true);
    EXPECT_EQ(removal.deltaType(), TPCDaddRemoveKey::kRemoved);
    TPCDaddRemoveKey replacement(curve.get(), key, *key);
    replacement.setIsUndone(true);
    EXPECT_EQ(replacement.deltaType(), TPCDaddRemoveKey::kReplaced);
    EXPECT_EQ(replacement.replacedValue(), 1.0);
    Tkeyframe former(1.0f, 7.0, kTangentFixed, kTangentFixed);
    TPCDaddRemoveKey byFormer(curve.get(), &former);
    EXPECT_EQ(byFormer.deltaType(), TPCDaddRemoveKey::kReplaced);
    EXPECT_EQ(byFormer.keyframe(), curve->keyframe(1)) << "the curve's key at the former key's time";
    EXPECT_EQ(byFormer.replacedValue(), 7.0);
    EXPECT_TRUE(byFormer.undo());
    EXPECT_EQ(curve->value(1), 7.0);
}

TEST(CurveDeltaRecords, DragValuesAreHeldInNormalisedSpace)
{
    for (double scale : {1e-11, 2.0}) {
        auto curve = floatCurve({{0.0f, 1.0}});
        TparamCurve::ThostHooks hooks;
        hooks.fOwner = &scale;
        hooks.fNormalisationScale = [](void* owner, TparamCurve const*) { return *static_cast<double*>(owner); };
        curve->setHostHooks(hooks, true);
        TkeyframeHandle handle(curve.get(), 0u, false);
        auto const record = drag(curve.get(), &handle, 0.0f, 3.0, 0.0f, 5.0);
        double const factor = scale == 2.0 ? 2.0 : 1.0;  // a negligible scale is ignored
        EXPECT_EQ(record->previousValue(), 3.0 * factor);
        EXPECT_EQ(record->currentValue(), 5.0 * factor);
    }
}

TEST(CurveDeltaRecords, TogglesSwapTheirStateEachTime)
{
    auto curve = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    bool const before = curve->isWeighted();
    TPCDweightedTangents weighted(curve.get(), !before);
    weighted.undo();
    EXPECT_EQ(curve->isWeighted(), !before);
    weighted.undo();
    EXPECT_EQ(curve->isWeighted(), before) << "two undos return to the start";
    TPCDbreakdown breakdown(curve.get(), 1u, true);
    EXPECT_TRUE(breakdown.undo());
    EXPECT_TRUE(curve->breakdown(1));
    EXPECT_TRUE(breakdown.redo());
    EXPECT_FALSE(curve->breakdown(1));
}

TEST(CurveDeltaRecords, RemovedKeysInfinityAndWeightingComeBackOnUndo)
{
    auto curve = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    Tkeyframe* key = curve->keyframe(1);
    TkeyframeHandle handle(curve.get(), key, true);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    curve->remove(1);
    EXPECT_FALSE(handle.present());
    user.endParamCurveMod(*curve);
    user.undoPC();
    EXPECT_EQ(curve->keyframe(1), key) << "the very key object comes back";
    EXPECT_TRUE(handle.present());
    user.redoPC();
    EXPECT_EQ(curve->keyframeCount(), 1u);

    TparamCurveDeltaUser settings;
    settings.beginParamCurveMod(*curve);
    curve->setPostInfinityType(TparamCurveEnums::kOscillate);
    curve->setIsWeighted(true);
    settings.endParamCurveMod(*curve);
    ASSERT_GE(settings.step().length(), 3u);
    EXPECT_NE(keelCast<TPCDinfinityType>(settings.step().delta(0)), nullptr);
    settings.undoPC();
    EXPECT_EQ(curve->postInfinityType(), TparamCurveEnums::kConstant);
    EXPECT_FALSE(curve->isWeighted());
}

TEST(DeltaCollection, AddDeltaOutsideAModificationTakesNothing)
{
    TparamCurve curve(true);
    TPCDbreakdown record(&curve, 0u, false);
    EXPECT_TRUE(curve.addDelta(&record, true));
    EXPECT_FALSE(curve.addDelta(&record, false));
    EXPECT_FALSE(curve.addDelta(nullptr, false));
    curve.beginMod();
    EXPECT_TRUE(curve.addDelta(new TPCDbreakdown(&curve, 0u, false), false)) << "first record: pending";
    EXPECT_TRUE(curve.addDelta(new TPCDbreakdown(&curve, 0u, true), false)) << "second: a composite is made";
    EXPECT_FALSE(curve.addDelta(new TPCDbreakdown(&curve, 0u, true), false)) << "third: merged, answers append";
    EXPECT_TRUE(curve.addDelta(new TPCDbreakdown(&curve, 0u, true), true));
    std::unique_ptr<Tdelta> collected(curve.endMod());
    auto* composite = keelCast<TparamCurveDeltaComp>(collected.get());
    ASSERT_NE(composite, nullptr);
    EXPECT_EQ(composite->length(), 4u);
}

TEST(DeltaCollection, ContinuingDragsMergeOnlyWithTheSwitchOn)
{
    auto curve = floatCurve({{0.0f, 1.0}});
    TkeyframeHandle handle(curve.get(), 0u, false);
    for (bool on : {false, true}) {
        TparamCurveDeltaComp step;
        step.setMergeSwitch(on);
        auto first = drag(curve.get(), &handle, 0.0f, 1.0, 0.5f, 2.0);
        auto second = drag(curve.get(), &handle, 0.5f, 2.0 + 1e-11, 0.75f, 3.0);
        TPCDdragKey* secondRaw = second.get();
        step.merge(static_cast<Tdelta*>(first.release()));
        step.merge(static_cast<Tdelta*>(new TPCDbreakdown(curve.get(), 0u, false)));
        step.merge(static_cast<Tdelta*>(second.release()));
        if (on) {
            ASSERT_EQ(step.length(), 2u);
            EXPECT_EQ(step.delta(1), secondRaw) << "the merged record stands last";
            EXPECT_EQ(secondRaw->previousTime(), TtimeValue(0.0f));
            EXPECT_EQ(secondRaw->previousValue(), 1.0);
            EXPECT_EQ(secondRaw->currentValue(), 3.0);
        } else {
            EXPECT_EQ(step.length(), 3u);
        }
    }
    TparamCurveDeltaComp step;
    step.setMergeSwitch(true);
    step.merge(static_cast<Tdelta*>(drag(curve.get(), &handle, 0.0f, 1.0, 0.5f, 2.0).release()));
    step.merge(static_cast<Tdelta*>(drag(curve.get(), &handle, 0.5f, 2.0 + 2e-10, 0.75f, 3.0).release()));
    auto unmerged = drag(curve.get(), &handle, 9.0f, 9.0, 9.5f, 9.0);
    EXPECT_FALSE(step.merge(static_cast<TparamCurveDelta*>(unmerged.get()))) << "the record merge alone never appends";
    EXPECT_EQ(step.length(), 2u) << "a value gap of 2e-10 breaks the chain";
}

TEST(DeltaCollection, AddLastFlattensCompositesOfCurveRecords)
{
    TparamCurve curve(true);
    TparamCurveDeltaComp inner;
    inner.addLast(new TPCDbreakdown(&curve, 0u, false));
    inner.addLast(new TPCDbreakdown(&curve, 1u, false));
    TparamCurveDeltaComp outer;
    outer.addLast(static_cast<Tdelta*>(&inner));
    EXPECT_EQ(outer.length(), 2u);
    inner.reset();  // the records now belong to `outer`
    EXPECT_EQ(inner.length(), 0u);
}

TEST(DeltaMessages, PostedInOrderAndGroupedByCurve)
{
    auto a = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    auto b = floatCurve({{0.0f, 1.0}, {1.0f, 2.0}});
    TdeltaListener board;
    TdeltaListener onA;
    TmessageCenter::messageBoardInit();
    TmessageCenter::fsMessageBoard->addClient(&board, TparamCurveDeltaMsgTmeta, &TdeltaListener::heard);
    a->addClient(&onA, TparamCurveDeltaMsgTmeta, &TdeltaListener::heard);

    TparamCurveDeltaUser user;
    TparamCurveDeltaUser::enableDeltaMessaging(false);
    user.beginParamCurveMod(*a);
    a->setBreakdown(0, true);
    a->setBreakdown(1, true);
    user.endParamCurveMod(*a);
    user.undoPC();
    EXPECT_TRUE(board.fMessages.empty()) << "messaging is off";

    TparamCurveDeltaUser::enableDeltaMessaging(true);
    user.redoPC();
    user.beginParamCurveMod(*b);
    b->setBreakdown(0, true);
    user.endParamCurveMod(*b);
    user.undoPC();
    TparamCurveDeltaUser::enableDeltaMessaging(false);
    ASSERT_EQ(board.fMessages.size(), 3u);
    std::vector<Tdelta*> const& undone = board.fMessages.back();
    ASSERT_EQ(undone.size(), 3u);
    EXPECT_EQ(undone[0], user.step().delta(2)) << "an undo posts the records in reverse";
    ASSERT_FALSE(onA.fMessages.empty());
    EXPECT_EQ(onA.fMessages.back().size(), 2u) << "curve A hears only its own records";
    EXPECT_EQ(onA.fMessages.back()[0], user.step().delta(1)) << "groups follow the reverse order too";
    TmessageCenter::fsMessageBoard->removeClient(&board);
}

TEST(DeltaMessages, ParseDeltasGroupsByFirstAppearance)
{
    TparamCurve a(true);
    TparamCurve b(true);
    TparamCurveDeltaComp step;
    step.addLast(new TPCDbreakdown(&b, 0u, false));
    step.addLast(new TPCDbreakdown(&a, 0u, false));
    step.addLast(new TPCDbreakdown(&b, 1u, false));
    auto* orphan = new TPCDbreakdown(&a, 2u, false);
    orphan->invalidateParamCurve();
    step.addLast(orphan);
    TparamCurveTableIndex index;
    TdeltaPtrArrayArray groups;
    TparamCurveDeltaUser::parseDeltas(step, index, groups, false);
    ASSERT_EQ(groups.count(), 2u);
    EXPECT_EQ(groups[0].count(), 2u) << "curve b first";
    EXPECT_EQ(groups[1].count(), 1u) << "records without a curve are skipped";
    unsigned group = 9;
    EXPECT_TRUE(index.find(&a, group));
    EXPECT_EQ(group, 1u);
}

TEST(DeltaList, CopiesByKindInTheFixedOrder)
{
    auto curve = floatCurve({{0.0f, 1.0}, {2.0f, 3.0}});
    TparamCurveDeltaList list;
    TPCDrotationInterpolation rotation(curve.get(), TparamCurveEnums::kEulerAngles, TparamCurveEnums::kQuaternionSlerp);
    list.add(&rotation);
    EXPECT_EQ(list.deltas(), nullptr) << "ignored records create no composite";
    Tkeyframe inserted(1.0f, 2.0, kTangentFixed, kTangentFixed);
    Tkeyframe previous(0.0f, 1.0, kTangentFixed, kTangentFixed);
    TPCDinsertKey insert(curve.get(), &inserted, &previous, nullptr);
    TPCDinfinityType infinity(curve.get(), false, TparamCurveEnums::kConstant, TparamCurveEnums::kCycle);
    list.add(&insert);
    list.add(&infinity);
    ASSERT_EQ(list.numDeltas(), 2u);
    Tdelta* first = list.deltas()->delta(0);
    EXPECT_EQ(first->typeof(), TPCDaddRemoveKeyTmeta) << "an insert is copied as a plain add/remove";
    auto const* copy = keelCast<TPCDaddRemoveKey>(first);
    EXPECT_NE(copy->storedKey(), &inserted) << "the copy owns its own key";
    EXPECT_EQ(copy->storedKey()->value(), 2.0);
    EXPECT_EQ(list.deltas()->delta(1)->typeof(), TPCDinfinityTypeTmeta);
    list.reset();
    EXPECT_EQ(list.numDeltas(), 0u);
}

TEST(DeltaList, SegmentDragsBecomeOneDragPerKey)
{
    auto curve = floatCurve({{0.0f, 1.0}, {2.0f, 3.0}});
    TkeyframeHandle first(curve.get(), 0u, false);
    TkeyframeHandle second(curve.get(), 1u, false);
    TkeyframeHandlePtrArray handles;
    handles.addLast(&first);
    handles.addLast(&second);
    TuInt32Array indices;
    indices.addLast(0);
    indices.addLast(1);
    TPCDdragSegment segment(handles, indices, TtimeValue(0.5f), 0.25, TparamCurveEnums::kMoveBetweenNeighbours,
                            curve.get());
    TparamCurveDeltaList list;
    list.add(&segment);
    ASSERT_EQ(list.numDeltas(), 2u);
    auto const* moved = keelCast<TPCDdragKey>(list.deltas()->delta(1));
    ASSERT_NE(moved, nullptr);
    EXPECT_EQ(moved->currentTime().seconds(), 2.0);
    EXPECT_EQ(moved->previousTime().seconds(), 1.5);
    EXPECT_EQ(moved->previousValue(), 2.75);
}

}  // namespace
