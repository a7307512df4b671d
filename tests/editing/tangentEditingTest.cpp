// Editing single tangents: locks, setting and dragging, angle and weight,
// and the edits that keep tangent and weight locks.

#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numbers>
#include <vector>

using keeltest::floatCurve;
using keeltest::TmessageLog;

namespace {

constexpr float kFloatTolerance = 1e-6f;
// Of lengths computed in single precision from a double.
constexpr double kLengthTolerance = 1e-9;
// Of stored vectors, which snap components inside 1e-5 to 0.
constexpr float kStoredTolerance = 1e-5f;
constexpr float kCollinearTolerance = 1e-5f;

// Everything a tangent edit may change on a key, bit for bit.
struct TkeyBits {
    std::uint32_t fInX, fInY, fOutX, fOutY;
    TtangentType fInType, fOutType;
    std::uint64_t fFlags;
    friend bool operator==(TkeyBits const&, TkeyBits const&) = default;
};

std::vector<TkeyBits> bitsOf(TparamCurve const& curve)
{
    std::vector<TkeyBits> bits;
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        Tkeyframe const* key = curve.keyframe(i);
        float ix = 0, iy = 0, ox = 0, oy = 0;
        key->getTanIn(ix, iy);
        key->getTanOut(ox, oy);
        bits.push_back({std::bit_cast<std::uint32_t>(ix), std::bit_cast<std::uint32_t>(iy),
                        std::bit_cast<std::uint32_t>(ox), std::bit_cast<std::uint32_t>(oy), key->storedTanInType(),
                        key->storedTanOutType(), key->flags().word() & ~std::uint64_t(kPickPartsMask)});
    }
    return bits;
}

void side(TparamCurve const& curve, unsigned index, bool in, float& x, float& y)
{
    in ? curve.keyframe(index)->getTanIn(x, y) : curve.keyframe(index)->getTanOut(x, y);
}

// Three keys with spline tangents on a weighted or unweighted curve.
std::unique_ptr<TparamCurve> splineCurve(bool weighted)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 2.0}, {2.0f, 1.0}});
    curve->setCurveFlag(TparamCurve::kWeightedBit, weighted);
    for (unsigned i = 0; i < 3; ++i) {
        curve->setTangentType(i, kTangentSpline, kTangentSpline);
    }
    curve->setCurveFlag(TparamCurve::kStaticBit, false);
    return curve;
}

// A helper that lets referenced curves change.
void allowReferenced(Tclient*, TclientServer*, TserverMsg const& msg)
{
    if (auto const* question = keelCast<TparamCurveHelperMsg>(&msg);
        question != nullptr && question->kind() == TparamCurveHelperMsg::kAskReferenced) {
        question->setAnswer(TbitField32(TparamCurveHelperMsg::kAllowReferencedBit));
    }
}

// --- Locks ------------------------------------------------------------------------------------

TEST(KeyLocks, SetAndReadEachBitAndRefuseBadIndices)
{
    auto curve = splineCurve(true);
    EXPECT_TRUE(curve->setTangentsLocked(1, false));
    EXPECT_FALSE(curve->tangentsLocked(1));
    EXPECT_TRUE(curve->setWeightsLocked(1, false));
    EXPECT_FALSE(curve->weightsLocked(1));
    EXPECT_TRUE(curve->setLocked(1, true));
    EXPECT_TRUE(curve->keyframe(1)->locked());
    EXPECT_FALSE(curve->setLocked(7, true));
    EXPECT_FALSE(curve->setTangentsLocked(7, true));
    EXPECT_FALSE(curve->setWeightsLocked(7, true));
    EXPECT_FALSE(curve->tangentsLocked(7));
    EXPECT_FALSE(curve->weightsLocked(7));
}

TEST(KeyLocks, LockedChannelsRefuseAndLeaveTheKey)
{
    struct Tcase {
        char const* fName;
        unsigned fLocked;
        bool (TparamCurve::*fSet)(unsigned, bool);
    };
    Tcase const cases[] = {
        {"key lock", 256, &TparamCurve::setLocked},
        {"tangent lock", 256, &TparamCurve::setTangentsLocked},
        {"weight lock", 2048, &TparamCurve::setWeightsLocked},
    };
    for (Tcase const& c : cases) {
        auto curve = splineCurve(true);
        auto const before = bitsOf(*curve);
        curve->setLockedParams(c.fLocked);
        EXPECT_FALSE((curve.get()->*c.fSet)(1, false)) << c.fName;
        EXPECT_EQ(bitsOf(*curve), before) << c.fName;
    }
}

TEST(KeyLocks, OnlyReferencedCurvesTellTheirClients)
{
    Tclient helper;
    TparamCurve::addGlobalHelper(&helper, &allowReferenced);
    for (bool referenced : {false, true}) {
        auto curve = splineCurve(true);
        curve->setCurveFlag(TparamCurve::kReferencedBit, referenced);
        TmessageLog heard;
        curve->addClient(&heard, TparamCurveModifiedMsgTmeta, &TmessageLog::heard);
        EXPECT_TRUE(curve->setLocked(0, true));
        EXPECT_TRUE(curve->setTangentsLocked(1, false));
        EXPECT_TRUE(curve->setWeightsLocked(2, false));
        ASSERT_EQ(heard.fEntries.size(), referenced ? 3u : 0u);
        for (auto const& entry : heard.fEntries) {
            EXPECT_EQ(entry.fKind, TparamCurveModifiedMsg::kLockChanged);
        }
    }
    TparamCurve::globalMsgDepot().removeClient(&helper);
}

TEST(KeyLocks, LockChangesUndoAndRedo)
{
    auto curve = splineCurve(true);
    auto const before = bitsOf(*curve);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    curve->setTangentsLocked(1, false);
    curve->setWeightsLocked(2, false);
    user.endParamCurveMod(*curve);
    auto const after = bitsOf(*curve);
    ASSERT_NE(after, before);
    user.undoPC();
    EXPECT_EQ(bitsOf(*curve), before);
    user.redoPC();
    EXPECT_EQ(bitsOf(*curve), after);
}

// --- Setting through the segment --------------------------------------------------------------

TEST(TangentSetting, SpansKeepWhatTheirSegmentAccepts)
{
    struct Tcase {
        char const* fName;
        bool fWeighted;
        float fX, fY;
        float fStoredX, fStoredY;
    };
    float const diagonal = float(std::numbers::sqrt2 / 2.0);
    Tcase const cases[] = {
        {"weighted keeps the vector", true, 0.5f, 2.0f, 0.5f, 2.0f},
        {"unweighted keeps the direction", false, 3.0f, 3.0f, diagonal, diagonal},
        {"backwards in time is vertical", false, -1.0f, 2.0f, 0.0f, 1.0f},
    };
    for (Tcase const& c : cases) {
        auto curve = splineCurve(c.fWeighted);
        EXPECT_TRUE(curve->setTanOut(curve->keyframe(1), c.fX, c.fY)) << c.fName;
        float x = 0, y = 0;
        side(*curve, 1, false, x, y);
        EXPECT_NEAR(x, c.fStoredX, kStoredTolerance) << c.fName;
        EXPECT_NEAR(y, c.fStoredY, kStoredTolerance) << c.fName;
        EXPECT_EQ(curve->keyframe(1)->storedTanOutType(), kTangentSpline) << c.fName << ": the type stays";
    }
}

TEST(TangentSetting, BadInputAndForeignKeysChangeNothing)
{
    auto curve = splineCurve(true);
    auto other = splineCurve(true);
    auto const before = bitsOf(*curve);
    float const inf = std::numeric_limits<float>::infinity();
    float const nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(curve->setTanIn(nullptr, 1.0f, 1.0f));
    EXPECT_FALSE(curve->setTanIn(other->keyframe(1), 1.0f, 1.0f));
    EXPECT_FALSE(curve->setTanIn(curve->keyframe(1), nan, 1.0f));
    EXPECT_FALSE(curve->setTanOut(curve->keyframe(1), 1.0f, inf));
    EXPECT_FALSE(curve->dragTangent(1, inf, 1.0f, false));
    EXPECT_FALSE(curve->dragTangent(1, 1.0f, nan, true));
    EXPECT_FALSE(curve->dragTangent(3, 1.0f, 1.0f, true));
    EXPECT_EQ(bitsOf(*curve), before);
}

// Masks: in 24, out 192, either 216 with locked tangents; dragging in 28 /
// 220, out 224 / 248.
TEST(TangentSetting, EachSideAsksForItsOwnChannels)
{
    struct Tcase {
        unsigned fLocked;
        bool fTangentsLocked;
        bool fIn;
        bool fSetAllowed;
        bool fDragAllowed;
    };
    Tcase const cases[] = {
        {8, false, true, false, false},  {8, false, false, true, true},   {4, false, true, true, false},
        {4, false, false, true, true},   {32, false, false, true, false}, {32, true, false, true, false},
        {32, true, true, true, true},    {128, false, true, true, true},  {16, false, true, false, false},
        {16, true, false, false, false},
    };
    for (Tcase const& c : cases) {
        auto curve = splineCurve(true);
        curve->keyframe(1)->setTangentsLocked(c.fTangentsLocked);
        curve->setLockedParams(c.fLocked);
        bool const set = c.fIn ? curve->setTanIn(curve->keyframe(1), 0.25f, 3.0f)
                               : curve->setTanOut(curve->keyframe(1), 0.25f, 3.0f);
        EXPECT_EQ(set, c.fSetAllowed) << c.fLocked << (c.fIn ? " in" : " out");
        curve->setLockedParams(0);
        if (set) {
            curve->setTangentType(1, kTangentSpline, kTangentSpline);
        }
        auto const reset = bitsOf(*curve);
        curve->setLockedParams(c.fLocked);
        EXPECT_EQ(curve->dragTangent(1, 0.25f, 3.0f, c.fIn), c.fDragAllowed) << c.fLocked << (c.fIn ? " in" : " out");
        if (!c.fDragAllowed) {
            EXPECT_EQ(bitsOf(*curve), reset);
        }
    }
}

// --- Dragging ---------------------------------------------------------------------------------

TEST(TangentDrag, MakesTheSideFixedAndLeavesTheOtherSide)
{
    auto curve = splineCurve(true);
    float otherX = 0, otherY = 0;
    side(*curve, 1, true, otherX, otherY);
    TmessageLog heard;
    curve->addClient(&heard, TparamCurveModifiedMsgTmeta, &TmessageLog::heard);
    ASSERT_TRUE(curve->dragTangent(1, 0.5f, -1.5f, false));
    float x = 0, y = 0;
    side(*curve, 1, false, x, y);
    EXPECT_EQ(x, 0.5f);
    EXPECT_EQ(y, -1.5f);
    EXPECT_EQ(curve->keyframe(1)->storedTanOutType(), kTangentFixed);
    EXPECT_EQ(curve->keyframe(1)->storedTanInType(), kTangentSpline);
    float nowX = 0, nowY = 0;
    side(*curve, 1, true, nowX, nowY);
    EXPECT_EQ(nowX, otherX);
    EXPECT_EQ(nowY, otherY);
    ASSERT_FALSE(heard.fEntries.empty());
    EXPECT_EQ(heard.fEntries.back().fKind, TparamCurveModifiedMsg::kTangentChanged);
}

TEST(TangentDrag, TheInTangentOfAForcedLinearSpanIsRefused)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 2.0}});
    curve->setTangentType(0, kTangentLinear, kTangentLinear);
    curve->setTangentType(1, kTangentLinear, kTangentLinear);
    ASSERT_EQ(curve->keyframe(0)->interpMethod(), Tkeyframe::kInterpLinear);
    auto const before = bitsOf(*curve);
    EXPECT_FALSE(curve->dragTangent(0, 1.0f, 1.0f, true));
    EXPECT_EQ(bitsOf(*curve), before);
    EXPECT_TRUE(curve->dragTangent(0, 1.0f, 1.0f, false));
}

TEST(TangentDrag, SuppressedMessagesWriteTheVectorOnly)
{
    auto curve = splineCurve(false);
    curve->setCurveFlag(TparamCurve::kSuppressMessagesBit, true);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    ASSERT_TRUE(curve->dragTangent(1, 2.0f, 2.0f, true));
    EXPECT_FALSE(user.endParamCurveMod(*curve)) << "nothing recorded";
    float x = 0, y = 0;
    side(*curve, 1, true, x, y);
    EXPECT_EQ(x, 2.0f) << "not through the unweighted segment";
    EXPECT_EQ(curve->keyframe(1)->storedTanInType(), kTangentSpline);
}

TEST(TangentDrag, LockedPluginTypesStay)
{
    constexpr auto kLockedKind = static_cast<TtangentType>(23);
    TpluginAnimCurveInterpDBase::add(
        "locked", TiffTag(23), TpluginAnimCurveInterp::kTypeLocked,
        [](bool floatInput, TpluginAnimCurveInterp const*) -> void* { return new T2dHermite(floatInput); },
        []() -> void* { return reinterpret_cast<void*>(1); });
    auto curve = splineCurve(true);
    curve->setTangentType(1, kLockedKind, kLockedKind);
    ASSERT_TRUE(curve->dragTangent(1, 1.0f, 1.0f, false));
    EXPECT_EQ(curve->keyframe(1)->storedTanOutType(), kLockedKind);
    TpluginAnimCurveInterpDBase::removeAll();
}

TEST(TangentDrag, RecordsOneTangentRecordWithBothTypes)
{
    auto curve = splineCurve(true);
    float oldX = 0, oldY = 0;
    side(*curve, 1, false, oldX, oldY);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    ASSERT_TRUE(curve->dragTangent(1, 0.5f, 1.0f, false));
    ASSERT_TRUE(user.endParamCurveMod(*curve));
    ASSERT_EQ(user.step().length(), 1u);
    auto* record = keelCast<TPCDdragTan>(user.step().delta(0));
    ASSERT_NE(record, nullptr);
    EXPECT_FALSE(record->isInTangent());
    EXPECT_EQ(record->index(), 1u);
    EXPECT_EQ(record->previousType(), kTangentSpline);
    EXPECT_EQ(record->currentType(), kTangentFixed);
    EXPECT_EQ(record->flag(), static_cast<unsigned char>(kTangentSpline));
    float x = 0, y = 0;
    record->getPreviousPosition(x, y);
    EXPECT_EQ(x, oldX);
    EXPECT_EQ(y, oldY);
    record->getCurrentPosition(x, y);
    EXPECT_EQ(x, 0.5f);
    EXPECT_EQ(y, 1.0f);
}

// Drags of every kind of side undo to the exact key and redo to the exact
// dragged one, neighbours that follow the key included.
TEST(TangentDrag, UndoAndRedoAreExact)
{
    struct Tcase {
        char const* fName;
        bool fWeighted;
        TtangentType fType;
        bool fIn;
    };
    Tcase const cases[] = {
        {"spline out, weighted", true, kTangentSpline, false},
        {"spline in, unweighted", false, kTangentSpline, true},
        {"stepped out", true, kTangentStep, false},
        {"linear out, forced linear spans", false, kTangentLinear, false},
        {"fixed out", false, kTangentFixed, false},
        {"plateau neighbours", true, kTangentPlateau, false},
    };
    for (Tcase const& c : cases) {
        auto curve = splineCurve(c.fWeighted);
        for (unsigned i = 0; i < 3; ++i) {
            curve->setTangentType(i, c.fType, c.fType);
        }
        curve->keyframe(1)->setTanIn(1.0f, 2.5f);  // not unit: the segment would change it
        auto const before = bitsOf(*curve);
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*curve);
        ASSERT_TRUE(curve->dragTangent(1, 0.7f, -2.0f, c.fIn)) << c.fName;
        ASSERT_TRUE(curve->dragTangent(1, 0.3f, 4.0f, c.fIn)) << c.fName;
        user.endParamCurveMod(*curve);
        auto const after = bitsOf(*curve);
        user.undoPC();
        EXPECT_EQ(bitsOf(*curve), before) << c.fName;
        user.redoPC();
        EXPECT_EQ(bitsOf(*curve), after) << c.fName;
        user.undoPC();
        EXPECT_EQ(bitsOf(*curve), before) << c.fName << " again";
    }
}

// Under the blocking override a tick key reads stepped: the record reports
// that, and still puts back the types the key stores.
TEST(TangentDrag, UndoUnderTheBlockingOverrideRestoresTheStoredTypes)
{
    auto curve = keeltest::tickCurve({{0, 0.0}, {6000, 2.0}, {12000, 1.0}});
    curve->setTangentType(1, kTangentSpline, kTangentClamped);
    auto const before = bitsOf(*curve);
    Tkeyframe::fsOverrideTangentsForBlockingMode = true;
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    bool const dragged = curve->dragTangent(1, 0.5f, 1.0f, false);
    user.endParamCurveMod(*curve);
    auto const after = bitsOf(*curve);
    auto const* record = user.step().length() == 1 ? keelCast<TPCDdragTan>(user.step().delta(0)) : nullptr;
    user.undoPC();
    auto const undone = bitsOf(*curve);
    user.redoPC();
    auto const redone = bitsOf(*curve);
    Tkeyframe::fsOverrideTangentsForBlockingMode = false;
    ASSERT_TRUE(dragged);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->previousType(), kTangentStep) << "as evaluation read it";
    EXPECT_EQ(after[1].fOutType, kTangentFixed);
    EXPECT_EQ(undone, before);
    EXPECT_EQ(redone, after);
}

// A record made by hand, without the whole key, replays as the drag it
// names: back to a fixed position, back to a computed type.
TEST(TangentDrag, RecordsWithoutTheWholeKeyDragBackAndRetype)
{
    auto curve = splineCurve(true);
    curve->dragTangent(1, 1.0f, 1.0f, false);
    TPCDdragTan moved(0.5f, 2.0f, 0, 1.0f, 1.0f, kTangentFixed, false, curve.get(), 1);
    EXPECT_TRUE(moved.undo());
    float x = 0, y = 0;
    side(*curve, 1, false, x, y);
    EXPECT_EQ(x, 0.5f);
    EXPECT_EQ(y, 2.0f);
    TPCDdragTan retyped(kTangentSpline, kTangentFixed, false, curve.get(), 1);
    EXPECT_TRUE(retyped.undo());
    EXPECT_EQ(curve->keyframe(1)->storedTanOutType(), kTangentSpline);
    TPCDdragTan still(0.5f, 2.0f, 0, 0.5f, 2.000001f, kTangentFixed, false, curve.get(), 1);
    EXPECT_FALSE(still.undo()) << "closer than the position tolerance";
    TPCDdragTan beyond(0.5f, 2.0f, 0, 0.5f, 2.0f, kTangentFixed, false, curve.get(), 7);
    EXPECT_FALSE(beyond.undo());
}

TEST(TangentDrag, StaticCurvesCheckTheirTangents)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 0.0}});
    curve->setCurveFlag(TparamCurve::kStaticBit, true);
    ASSERT_TRUE(curve->dragTangent(0, 1.0f, 0.5f, false));
    EXPECT_FALSE(curve->isStatic());
}

// --- Angle and weight -------------------------------------------------------------------------

TEST(TangentWeight, WeightedCurvesMeasureTheScaledHandle)
{
    struct Tcase {
        bool fWeighted;
        float fX, fY, fXScale, fYScale;
        double fWeight;
    };
    Tcase const cases[] = {
        {true, 3.0f, 0.0f, 1.0f, 1.0f, 1.0},
        {true, 3.0f, 3.0f, 1.0f, 1.0f, std::sqrt(2.0)},
        {true, 3.0f, 6.0f, 2.0f, 0.5f, std::sqrt(5.0)},
        {false, 0.0f, 0.0f, 1.0f, 1.0f, 0.0},
        {false, 0.0f, 2.0f, 1.0f, 1.0f, 1.0},
        {false, 0.3f, 0.0f, 1.0f, 1.0f, 1.0},
    };
    for (Tcase const& c : cases) {
        auto curve = splineCurve(c.fWeighted);
        curve->keyframe(1)->setTanOut(c.fX, c.fY);
        EXPECT_NEAR(curve->tangentWeight(1, false, c.fXScale, c.fYScale), c.fWeight, kFloatTolerance)
            << c.fX << ' ' << c.fY;
    }
    auto curve = splineCurve(true);
    EXPECT_EQ(curve->tangentWeight(9, false, 1.0f, 1.0f), 0.0);
    EXPECT_EQ(curve->tangentWeight(1, false, 0.0f, 1.0f), 0.0);
}

TEST(TangentAngleAndWeight, VectorsForNewAnglesAndWeights)
{
    auto curve = splineCurve(true);
    curve->keyframe(1)->setTanOut(3.0f, 0.0f);  // weight 1, angle 0 at scales (1, 1)
    Tangle const quarter(90.0, kDegrees);
    Tangle const eighth(45.0, kDegrees);
    float x = 0, y = 0;
    ASSERT_TRUE(curve->setTangentAngle(1, quarter, false, x, y, 1.0f, 2.0f));
    EXPECT_NEAR(x, 0.0f, kFloatTolerance);
    EXPECT_NEAR(y, 1.5f, kFloatTolerance) << "3 × weight 1 over the value scale";
    ASSERT_TRUE(curve->setTangentWeight(1, 2.0f, false, x, y, 1.0f, 1.0f));
    EXPECT_NEAR(x, 6.0f, kFloatTolerance);
    EXPECT_NEAR(y, 0.0f, kFloatTolerance);
    ASSERT_TRUE(curve->setTangentWeightAndAngle(1, 1.0f, eighth, true, x, y, 2.0f, 1.0f));
    EXPECT_NEAR(x, 3.0 * std::cos(std::numbers::pi / 4) / 2.0, kFloatTolerance);
    EXPECT_NEAR(y, 3.0 * std::sin(std::numbers::pi / 4), kFloatTolerance);
}

TEST(TangentAngleAndWeight, TinyWeightsGiveTheMinimumLength)
{
    auto curve = splineCurve(true);
    float x = 0, y = 0;
    ASSERT_TRUE(curve->setTangentWeight(1, 0.001f, false, x, y, 2.0f, 4.0f));
    EXPECT_NEAR(std::hypot(double(x) * 2.0, double(y) * 4.0), 0.015, kLengthTolerance);
    ASSERT_TRUE(curve->setTangentWeightAndAngle(1, -1.0f, Tangle(1.0, kRadians), false, x, y, 1.0f, 1.0f));
    EXPECT_NEAR(std::hypot(double(x), double(y)), 0.015, kLengthTolerance);
}

TEST(TangentAngleAndWeight, BadInputLeavesTheOutputs)
{
    auto curve = splineCurve(true);
    float x = 7.0f, y = 7.0f;
    Tangle const angle(0.5, kRadians);
    EXPECT_FALSE(curve->setTangentAngle(9, angle, false, x, y, 1.0f, 1.0f));
    EXPECT_FALSE(curve->setTangentAngle(1, angle, false, x, y, 0.0f, 1.0f));
    EXPECT_FALSE(curve->setTangentWeight(1, 1.0f, false, x, y, 1.0f, -1.0f));
    EXPECT_FALSE(curve->setTangentWeight(1, std::numeric_limits<float>::infinity(), false, x, y, 1.0f, 1.0f));
    EXPECT_FALSE(
        curve->setTangentWeightAndAngle(1, std::numeric_limits<float>::quiet_NaN(), angle, false, x, y, 1.0f, 1.0f));
    EXPECT_EQ(x, 7.0f);
    EXPECT_EQ(y, 7.0f);
}

// --- Keeping locks ----------------------------------------------------------------------------

TEST(LockPreservingEdit, LockedTangentsStayCollinearAtTheirOwnLengths)
{
    constexpr float kXScale = 2.0f;
    constexpr float kYScale = 0.5f;
    auto curve = splineCurve(true);
    curve->keyframe(1)->setTangentsLocked(true);
    curve->keyframe(1)->setWeightsLocked(false);
    double const otherLength = curve->tangentWeight(1, true, kXScale, kYScale);
    ASSERT_TRUE(curve->editTangent(1, 0.4f, 1.2f, false, kXScale, kYScale));
    float ox = 0, oy = 0, ix = 0, iy = 0;
    side(*curve, 1, false, ox, oy);
    side(*curve, 1, true, ix, iy);
    EXPECT_EQ(ox, 0.4f);
    EXPECT_EQ(oy, 1.2f);
    EXPECT_NEAR(ix * oy - iy * ox, 0.0f, kCollinearTolerance);
    EXPECT_GT(ix * ox + iy * oy, 0.0f) << "same direction";
    EXPECT_NEAR(curve->tangentWeight(1, true, kXScale, kYScale), otherLength, kFloatTolerance);
    EXPECT_EQ(curve->keyframe(1)->storedTanInType(), kTangentFixed);
}

TEST(LockPreservingEdit, LockedWeightsKeepTheDisplayLength)
{
    constexpr float kXScale = 1.0f;
    constexpr float kYScale = 3.0f;
    auto curve = splineCurve(true);
    curve->keyframe(1)->setTangentsLocked(false);
    curve->keyframe(1)->setWeightsLocked(true);
    double const length = curve->tangentWeight(1, false, kXScale, kYScale);
    float inX = 0, inY = 0;
    side(*curve, 1, true, inX, inY);
    ASSERT_TRUE(curve->editTangent(1, 5.0f, 5.0f, false, kXScale, kYScale));
    EXPECT_NEAR(curve->tangentWeight(1, false, kXScale, kYScale), length, kFloatTolerance);
    float x = 0, y = 0;
    side(*curve, 1, false, x, y);
    EXPECT_NEAR(x, y, kFloatTolerance) << "the dragged direction";
    float nowX = 0, nowY = 0;
    side(*curve, 1, true, nowX, nowY);
    EXPECT_EQ(nowX, inX) << "unlocked tangents: the in side stays";
    EXPECT_EQ(nowY, inY);
    EXPECT_FALSE(curve->editTangent(1, 0.0f, 0.0f, false, kXScale, kYScale)) << "no direction to keep a length on";
}

TEST(LockPreservingEdit, EditsUndoAndRedoExactly)
{
    for (bool weighted : {true, false}) {
        auto curve = splineCurve(weighted);
        curve->keyframe(1)->setTangentsLocked(true);
        curve->keyframe(1)->setWeightsLocked(true);
        auto const before = bitsOf(*curve);
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*curve);
        ASSERT_TRUE(curve->editTangent(1, 0.4f, 1.2f, true, 1.5f, 0.5f));
        ASSERT_TRUE(curve->editTangent(1, 0.9f, -0.2f, false, 1.5f, 0.5f));
        user.endParamCurveMod(*curve);
        auto const after = bitsOf(*curve);
        user.undoPC();
        EXPECT_EQ(bitsOf(*curve), before) << weighted;
        user.redoPC();
        EXPECT_EQ(bitsOf(*curve), after) << weighted;
    }
}

TEST(LockPreservingEdit, LockedCurvesRefuseWholly)
{
    for (unsigned locked : {16u, 32u, 248u}) {
        auto curve = splineCurve(true);
        curve->keyframe(1)->setTangentsLocked(true);
        curve->keyframe(1)->setTanOut(1.0f, -3.0f);  // out of line with the in side
        curve->setLockedParams(locked);
        auto const before = bitsOf(*curve);
        EXPECT_FALSE(curve->editTangent(1, 0.4f, 1.2f, false, 1.0f, 1.0f)) << locked;
        EXPECT_FALSE(curve->preserveTangentLock(1, true, 1.0f, 1.0f)) << locked;
        EXPECT_EQ(bitsOf(*curve), before) << locked;
    }
}

TEST(LockPreservingEdit, PreserveTangentLockBringsTheOtherSideInLine)
{
    auto curve = splineCurve(true);
    curve->keyframe(1)->setTangentsLocked(false);
    ASSERT_TRUE(curve->dragTangent(1, 0.3f, 2.0f, false));
    EXPECT_TRUE(curve->preserveTangentLock(1, false, 1.0f, 1.0f)) << "unlocked: nothing to do";
    ASSERT_TRUE(curve->setTangentsLocked(1, true));
    ASSERT_TRUE(curve->preserveTangentLock(1, false, 1.0f, 1.0f));
    float ox = 0, oy = 0, ix = 0, iy = 0;
    side(*curve, 1, false, ox, oy);
    side(*curve, 1, true, ix, iy);
    EXPECT_NEAR(ix * oy - iy * ox, 0.0f, kCollinearTolerance);
    auto const inLine = bitsOf(*curve);
    curve->setLockedParams(~0u);
    EXPECT_TRUE(curve->preserveTangentLock(1, false, 1.0f, 1.0f)) << "already in line: no change asked for";
    EXPECT_EQ(bitsOf(*curve), inLine);
}

TEST(TangentRecords, UnrecordedTangentChangesAreRecordedPerChangedSide)
{
    auto curve = splineCurve(true);
    Tkeyframe const was(*curve->keyframe(1));
    EXPECT_FALSE(curve->generateDeltasForTangents(1, was)) << "outside a modification";
    auto const before = bitsOf(*curve);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    ASSERT_TRUE(curve->setTanIn(curve->keyframe(1), 0.25f, -1.0f));
    ASSERT_TRUE(curve->setTangentTypeHelper(1, kTangentFlat, kPickOutTangentBit));
    EXPECT_FALSE(curve->generateDeltasForTangents(9, was));
    ASSERT_TRUE(curve->generateDeltasForTangents(1, was));
    user.endParamCurveMod(*curve);
    EXPECT_EQ(user.step().length(), 2u) << "both sides changed";
    auto const after = bitsOf(*curve);
    user.undoPC();
    EXPECT_EQ(bitsOf(*curve), before);
    user.redoPC();
    EXPECT_EQ(bitsOf(*curve), after);
}

}  // namespace
