// Editing single tangents: locks, setting and dragging, angle and weight,
// and the edits that keep tangent and weight locks.

#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <vector>

using keeltest::floatCurve;
using keeltest::TmessageLog;

namespace {

constexpr float kFloatTolerance = 1e-6f;
// Of stored vectors, which snap components inside 1e-5 to 0.
constexpr float kStoredTolerance = 1e-5f;
// Of lengths computed in single precision from a double.
constexpr double kLengthTolerance = 1e-9;
constexpr float kCollinearTolerance = 1e-5f;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

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

float cross(TparamCurve const& curve, unsigned index)
{
    float ix = 0, iy = 0, ox = 0, oy = 0;
    side(curve, index, true, ix, iy);
    side(curve, index, false, ox, oy);
    return ix * oy - iy * ox;
}

// Three keys of one tangent type; key 1's tangents are locked, its weights
// not.
std::unique_ptr<TparamCurve> curveOf(bool weighted, TtangentType type = kTangentSpline)
{
    auto curve = floatCurve({{0.0f, 0.0}, {1.0f, 2.0}, {2.0f, 1.0}});
    curve->setCurveFlag(TparamCurve::kWeightedBit, weighted);
    for (unsigned i = 0; i < 3; ++i) {
        curve->setTangentType(i, type, type);
    }
    curve->keyframe(1)->setWeightsLocked(false);
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

TEST(KeyLocks, EachBitAsksForItsChannelAndRefusesBadIndices)
{
    struct Tcase {
        unsigned fChannel;
        bool (TparamCurve::*fSet)(unsigned, bool);
        bool (Tkeyframe::*fRead)() const;
    };
    Tcase const cases[] = {{256, &TparamCurve::setLocked, &Tkeyframe::locked},
                           {256, &TparamCurve::setTangentsLocked, &Tkeyframe::tangentsLocked},
                           {2048, &TparamCurve::setWeightsLocked, &Tkeyframe::weightsLocked}};
    for (Tcase const& c : cases) {
        auto curve = curveOf(true);
        bool const was = (curve->keyframe(2)->*c.fRead)();
        auto const before = bitsOf(*curve);
        curve->setLockedParams(c.fChannel);
        EXPECT_FALSE((curve.get()->*c.fSet)(2, !was)) << c.fChannel;
        EXPECT_EQ(bitsOf(*curve), before);
        curve->setLockedParams(~c.fChannel);
        EXPECT_TRUE((curve.get()->*c.fSet)(2, !was));
        EXPECT_EQ((curve->keyframe(2)->*c.fRead)(), !was);
        EXPECT_FALSE((curve.get()->*c.fSet)(3, true));
    }
    auto curve = curveOf(true);
    EXPECT_TRUE(curve->tangentsLocked(1));
    EXPECT_FALSE(curve->weightsLocked(1));
    EXPECT_FALSE(curve->tangentsLocked(3));
    EXPECT_FALSE(curve->weightsLocked(3));
}

TEST(KeyLocks, OnlyReferencedCurvesTellTheirClients)
{
    Tclient helper;
    TparamCurve::addGlobalHelper(&helper, &allowReferenced);
    for (bool referenced : {false, true}) {
        auto curve = curveOf(true);
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

TEST(TangentSetting, SpansKeepWhatTheirSegmentAccepts)
{
    struct Tcase {
        bool fWeighted;
        float fX, fY, fStoredX, fStoredY;
    };
    auto const diagonal = float(std::numbers::sqrt2 / 2.0);
    Tcase const cases[] = {{true, 0.5f, 2.0f, 0.5f, 2.0f},           // weighted: the vector
                           {false, 3.0f, 3.0f, diagonal, diagonal},  // unweighted: the direction
                           {false, -1.0f, 2.0f, 0.0f, 1.0f}};        // backwards in time: vertical
    for (Tcase const& c : cases) {
        auto curve = curveOf(c.fWeighted);
        EXPECT_TRUE(curve->setTanOut(curve->keyframe(1), c.fX, c.fY));
        float x = 0, y = 0;
        side(*curve, 1, false, x, y);
        EXPECT_NEAR(x, c.fStoredX, kStoredTolerance) << c.fX;
        EXPECT_NEAR(y, c.fStoredY, kStoredTolerance) << c.fX;
        EXPECT_EQ(curve->keyframe(1)->storedTanOutType(), kTangentSpline) << "the type stays";
    }
}

TEST(TangentSetting, BadInputAndForeignKeysChangeNothing)
{
    auto curve = curveOf(true);
    auto other = curveOf(true);
    auto const before = bitsOf(*curve);
    EXPECT_FALSE(curve->setTanIn(nullptr, 1.0f, 1.0f));
    EXPECT_FALSE(curve->setTanIn(other->keyframe(1), 1.0f, 1.0f));
    EXPECT_FALSE(curve->setTanIn(curve->keyframe(1), kNan, 1.0f));
    EXPECT_FALSE(curve->setTanOut(curve->keyframe(1), 1.0f, kInf));
    EXPECT_FALSE(curve->dragTangent(1, kInf, 1.0f, false));
    EXPECT_FALSE(curve->dragTangent(1, 1.0f, kNan, true));
    EXPECT_FALSE(curve->dragTangent(3, 1.0f, 1.0f, true));
    EXPECT_FALSE(curve->editTangent(1, 1.0f, 1.0f, true, 0.0f, 1.0f));
    EXPECT_EQ(bitsOf(*curve), before);
}

// Setting asks for 24 (in) or 192 (out), 216 with locked tangents; dragging
// for 28 / 220 (in) and 224 / 248 (out).
TEST(TangentSetting, EachSideAsksForItsOwnChannels)
{
    struct Tcase {
        unsigned fLocked;
        bool fTangentsLocked, fIn, fSetAllowed, fDragAllowed;
    };
    Tcase const cases[] = {
        {8, false, true, false, false},  {8, false, false, true, true},   {4, false, true, true, false},
        {4, false, false, true, true},   {32, false, false, true, false}, {32, true, false, true, false},
        {32, true, true, true, true},    {128, false, true, true, true},  {16, false, true, false, false},
        {16, true, false, false, false},
    };
    for (Tcase const& c : cases) {
        auto curve = curveOf(true);
        curve->keyframe(1)->setTangentsLocked(c.fTangentsLocked);
        curve->setLockedParams(c.fLocked);
        auto const before = bitsOf(*curve);
        Tkeyframe* key = curve->keyframe(1);
        EXPECT_EQ(c.fIn ? curve->setTanIn(key, 0.25f, 3.0f) : curve->setTanOut(key, 0.25f, 3.0f), c.fSetAllowed)
            << c.fLocked << ' ' << c.fIn;
        curve->setLockedParams(0);
        curve->setTangentType(1, kTangentSpline, kTangentSpline);
        curve->setLockedParams(c.fLocked);
        EXPECT_EQ(curve->dragTangent(1, 0.25f, 3.0f, c.fIn), c.fDragAllowed) << c.fLocked << ' ' << c.fIn;
        EXPECT_EQ(bitsOf(*curve) == before, !c.fDragAllowed);
    }
}

TEST(TangentDrag, MakesTheSideFixedLeavesTheOtherAndRecordsBothTypes)
{
    auto curve = curveOf(true);
    float inX = 0, inY = 0, oldX = 0, oldY = 0, x = 0, y = 0;
    side(*curve, 1, true, inX, inY);
    side(*curve, 1, false, oldX, oldY);
    TmessageLog heard;
    curve->addClient(&heard, TparamCurveModifiedMsgTmeta, &TmessageLog::heard);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    ASSERT_TRUE(curve->dragTangent(1, 0.5f, -1.5f, false));
    ASSERT_TRUE(user.endParamCurveMod(*curve));
    side(*curve, 1, false, x, y);
    EXPECT_EQ(x, 0.5f);
    EXPECT_EQ(y, -1.5f);
    EXPECT_EQ(curve->keyframe(1)->storedTanOutType(), kTangentFixed);
    EXPECT_EQ(curve->keyframe(1)->storedTanInType(), kTangentSpline);
    side(*curve, 1, true, x, y);
    EXPECT_EQ(x, inX);
    EXPECT_EQ(y, inY);
    ASSERT_FALSE(heard.fEntries.empty());
    EXPECT_EQ(heard.fEntries.back().fKind, TparamCurveModifiedMsg::kTangentChanged);
    ASSERT_EQ(user.step().length(), 1u);
    auto* record = keelCast<TPCDdragTan>(user.step().delta(0));
    ASSERT_NE(record, nullptr);
    EXPECT_FALSE(record->isInTangent());
    EXPECT_EQ(record->index(), 1u);
    EXPECT_EQ(record->previousType(), kTangentSpline);
    EXPECT_EQ(record->currentType(), kTangentFixed);
    EXPECT_EQ(record->flag(), static_cast<unsigned char>(kTangentSpline));
    record->getPreviousPosition(x, y);
    EXPECT_EQ(x, oldX);
    EXPECT_EQ(y, oldY);
    record->getCurrentPosition(x, y);
    EXPECT_EQ(x, 0.5f);
    EXPECT_EQ(y, -1.5f);
}

TEST(TangentDrag, SpecialKeysAndCurves)
{
    auto linear = curveOf(false, kTangentLinear);
    ASSERT_EQ(linear->keyframe(0)->interpMethod(), Tkeyframe::kInterpLinear);
    auto const before = bitsOf(*linear);
    EXPECT_FALSE(linear->dragTangent(0, 1.0f, 1.0f, true)) << "in-tangent of a forced linear span";
    EXPECT_EQ(bitsOf(*linear), before);
    EXPECT_TRUE(linear->dragTangent(0, 1.0f, 1.0f, false));

    auto quiet = curveOf(false);
    quiet->setCurveFlag(TparamCurve::kSuppressMessagesBit, true);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*quiet);
    ASSERT_TRUE(quiet->dragTangent(1, 2.0f, 2.0f, true));
    EXPECT_FALSE(user.endParamCurveMod(*quiet)) << "suppressed messages: nothing recorded";
    float x = 0, y = 0;
    side(*quiet, 1, true, x, y);
    EXPECT_EQ(x, 2.0f) << "written as it stands";
    EXPECT_EQ(quiet->keyframe(1)->storedTanInType(), kTangentSpline);

    auto flat = floatCurve({{0.0f, 0.0}, {1.0f, 0.0}});
    flat->setCurveFlag(TparamCurve::kStaticBit, true);
    ASSERT_TRUE(flat->dragTangent(0, 1.0f, 0.5f, false));
    EXPECT_FALSE(flat->isStatic());

    constexpr auto kLockedKind = static_cast<TtangentType>(23);
    TpluginAnimCurveInterpDBase::add(
        "locked", TiffTag(23), TpluginAnimCurveInterp::kTypeLocked,
        [](bool floatInput, TpluginAnimCurveInterp const*) -> void* { return new T2dHermite(floatInput); },
        []() -> void* { return reinterpret_cast<void*>(1); });
    auto plugin = curveOf(true, kLockedKind);
    ASSERT_TRUE(plugin->dragTangent(1, 1.0f, 1.0f, false));
    EXPECT_EQ(plugin->keyframe(1)->storedTanOutType(), kLockedKind) << "locked plug-in types stay";
    TpluginAnimCurveInterpDBase::removeAll();
}

// A record made by hand, without the whole key, replays as the drag it
// names: back to a fixed position, back to a computed type.
TEST(TangentDrag, RecordsWithoutTheWholeKeyDragBackAndRetype)
{
    auto curve = curveOf(true);
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

// Every recorded tangent edit undoes to the exact curve and redoes to the
// exact edited one: both tangents, both types and the flags of every key.
TEST(TangentUndo, EditsUndoAndRedoBitForBit)
{
    using Tedit = std::function<void(TparamCurve&)>;
    struct Tcase {
        char const* fName;
        bool fWeighted;
        TtangentType fType;
        Tedit fEdit;
    };
    auto drag = [](bool in) {
        return [in](TparamCurve& c) {
            c.dragTangent(1, 0.7f, -2.0f, in);
            c.dragTangent(1, 0.3f, 4.0f, in);
        };
    };
    auto edit = [](TparamCurve& c) {
        c.setWeightsLocked(1, true);
        c.editTangent(1, 0.4f, 1.2f, true, 1.5f, 0.5f);
        c.editTangent(1, 0.9f, -0.2f, false, 1.5f, 0.5f);
    };
    Tcase const cases[] = {
        {"drag spline out, weighted", true, kTangentSpline, drag(false)},
        {"drag spline in", false, kTangentSpline, drag(true)},
        {"drag stepped out", true, kTangentStep, drag(false)},
        {"drag linear out, forced linear spans", false, kTangentLinear, drag(false)},
        {"drag fixed out", false, kTangentFixed, drag(false)},
        {"drag beside plateau neighbours", true, kTangentPlateau, drag(false)},
        {"locked edits, weighted", true, kTangentSpline, edit},
        {"locked edits", false, kTangentClamped, edit},
        {"lock changes", true, kTangentSpline,
         [](TparamCurve& c) {
             c.setTangentsLocked(1, false);
             c.setWeightsLocked(2, false);
         }},
        {"changes recorded afterwards", true, kTangentSpline,
         [](TparamCurve& c) {
             Tkeyframe const was(*c.keyframe(1));
             c.setTanIn(c.keyframe(1), 0.25f, -1.0f);
             c.setTangentTypeHelper(1, kTangentFlat, kPickOutTangentBit);
             c.generateDeltasForTangents(1, was);
         }},
    };
    for (Tcase const& c : cases) {
        auto curve = curveOf(c.fWeighted, c.fType);
        curve->keyframe(1)->setTanIn(1.0f, 2.5f);  // not what a segment would store
        TparamCurveDeltaUser user;
        user.beginParamCurveMod(*curve);
        auto const before = bitsOf(*curve);
        c.fEdit(*curve);
        ASSERT_TRUE(user.endParamCurveMod(*curve)) << c.fName;
        auto const after = bitsOf(*curve);
        ASSERT_NE(after, before) << c.fName;
        user.undoPC();
        EXPECT_EQ(bitsOf(*curve), before) << c.fName;
        user.redoPC();
        EXPECT_EQ(bitsOf(*curve), after) << c.fName;
    }
}

// Under the blocking override a tick key reads stepped: the record reports
// that, and still puts back the types the key stores.
TEST(TangentUndo, TheBlockingOverrideLeavesStoredTypesExact)
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
    Tkeyframe::fsOverrideTangentsForBlockingMode = false;
    ASSERT_TRUE(dragged);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->previousType(), kTangentStep) << "as evaluation read it";
    EXPECT_EQ(after[1].fOutType, kTangentFixed);
    EXPECT_EQ(undone, before);
}

TEST(TangentWeight, WeightedCurvesMeasureTheScaledHandle)
{
    struct Tcase {
        bool fWeighted;
        float fX, fY, fXScale, fYScale;
        double fWeight;
    };
    Tcase const cases[] = {
        {true, 3.0f, 0.0f, 1.0f, 1.0f, 1.0},
        {true, 3.0f, 3.0f, 1.0f, 1.0f, std::numbers::sqrt2},
        {true, 3.0f, 6.0f, 2.0f, 0.5f, std::sqrt(5.0)},
        {false, 0.0f, 0.0f, 1.0f, 1.0f, 0.0},
        {false, 0.0f, 2.0f, 1.0f, 1.0f, 1.0},
        {false, 0.3f, 0.0f, 1.0f, 1.0f, 1.0},
        {true, 3.0f, 0.0f, 0.0f, 1.0f, 0.0},  // a zero display scale
    };
    for (Tcase const& c : cases) {
        auto curve = curveOf(c.fWeighted);
        curve->keyframe(1)->setTanOut(c.fX, c.fY);
        EXPECT_NEAR(curve->tangentWeight(1, false, c.fXScale, c.fYScale), c.fWeight, kFloatTolerance) << c.fY;
    }
    EXPECT_EQ(curveOf(true)->tangentWeight(9, false, 1.0f, 1.0f), 0.0);
}

TEST(TangentAngleAndWeight, VectorsForNewAnglesAndWeights)
{
    auto curve = curveOf(true);
    curve->keyframe(1)->setTanOut(3.0f, 0.0f);  // weight 1, angle 0
    float x = 0, y = 0;
    ASSERT_TRUE(curve->setTangentAngle(1, Tangle(90.0, kDegrees), false, x, y, 1.0f, 2.0f));
    EXPECT_NEAR(x, 0.0f, kFloatTolerance);
    EXPECT_NEAR(y, 1.5f, kFloatTolerance) << "3 × weight over the value scale";
    ASSERT_TRUE(curve->setTangentWeight(1, 2.0f, false, x, y, 1.0f, 1.0f));
    EXPECT_NEAR(x, 6.0f, kFloatTolerance);
    EXPECT_NEAR(y, 0.0f, kFloatTolerance);
    ASSERT_TRUE(curve->setTangentWeightAndAngle(1, 1.0f, Tangle(45.0, kDegrees), true, x, y, 2.0f, 1.0f));
    EXPECT_NEAR(x, 3.0 * std::cos(std::numbers::pi / 4) / 2.0, kFloatTolerance);
    EXPECT_NEAR(y, 3.0 * std::sin(std::numbers::pi / 4), kFloatTolerance);
    // Weights below 0.005 give the minimum length, in scaled space.
    ASSERT_TRUE(curve->setTangentWeight(1, 0.001f, false, x, y, 2.0f, 4.0f));
    EXPECT_NEAR(std::hypot(double(x) * 2.0, double(y) * 4.0), 0.015, kLengthTolerance);
    ASSERT_TRUE(curve->setTangentWeightAndAngle(1, -1.0f, Tangle(1.0, kRadians), false, x, y, 1.0f, 1.0f));
    EXPECT_NEAR(std::hypot(double(x), double(y)), 0.015, kLengthTolerance);
}

TEST(TangentAngleAndWeight, BadInputLeavesTheOutputs)
{
    auto curve = curveOf(true);
    float x = 7.0f, y = 7.0f;
    Tangle const angle(0.5, kRadians);
    EXPECT_FALSE(curve->setTangentAngle(9, angle, false, x, y, 1.0f, 1.0f));
    EXPECT_FALSE(curve->setTangentAngle(1, angle, false, x, y, 0.0f, 1.0f));
    EXPECT_FALSE(curve->setTangentWeight(1, 1.0f, false, x, y, 1.0f, -1.0f));
    EXPECT_FALSE(curve->setTangentWeight(1, kInf, false, x, y, 1.0f, 1.0f));
    EXPECT_FALSE(curve->setTangentWeightAndAngle(1, kNan, angle, false, x, y, 1.0f, 1.0f));
    EXPECT_EQ(x, 7.0f);
    EXPECT_EQ(y, 7.0f);
}

TEST(LockPreservingEdit, LockedTangentsStayCollinearAtTheirOwnLengths)
{
    constexpr float kXScale = 2.0f;
    constexpr float kYScale = 0.5f;
    auto curve = curveOf(true);
    double const inWeight = curve->tangentWeight(1, true, kXScale, kYScale);
    ASSERT_TRUE(curve->editTangent(1, 0.4f, 1.2f, false, kXScale, kYScale));
    float x = 0, y = 0, inX = 0, inY = 0;
    side(*curve, 1, false, x, y);
    side(*curve, 1, true, inX, inY);
    EXPECT_EQ(x, 0.4f);
    EXPECT_EQ(y, 1.2f);
    EXPECT_NEAR(cross(*curve, 1), 0.0f, kCollinearTolerance);
    EXPECT_GT(inX * x + inY * y, 0.0f) << "the same way";
    EXPECT_NEAR(curve->tangentWeight(1, true, kXScale, kYScale), inWeight, kFloatTolerance);
    EXPECT_EQ(curve->keyframe(1)->storedTanInType(), kTangentFixed);
}

TEST(LockPreservingEdit, LockedWeightsKeepTheDisplayLength)
{
    constexpr float kXScale = 1.0f;
    constexpr float kYScale = 3.0f;
    auto curve = curveOf(true);
    curve->keyframe(1)->setTangentsLocked(false);
    curve->keyframe(1)->setWeightsLocked(true);
    double const weight = curve->tangentWeight(1, false, kXScale, kYScale);
    float inX = 0, inY = 0, x = 0, y = 0;
    side(*curve, 1, true, inX, inY);
    ASSERT_TRUE(curve->editTangent(1, 5.0f, 5.0f, false, kXScale, kYScale));
    EXPECT_NEAR(curve->tangentWeight(1, false, kXScale, kYScale), weight, kFloatTolerance);
    side(*curve, 1, false, x, y);
    EXPECT_NEAR(x, y, kFloatTolerance) << "the dragged direction";
    side(*curve, 1, true, x, y);
    EXPECT_EQ(x, inX) << "unlocked tangents: the in side stays";
    EXPECT_EQ(y, inY);
    EXPECT_FALSE(curve->editTangent(1, 0.0f, 0.0f, false, kXScale, kYScale)) << "no direction to keep a length on";
}

TEST(LockPreservingEdit, LockedCurvesRefuseWholly)
{
    for (unsigned locked : {16u, 32u, 248u}) {
        auto curve = curveOf(true);
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
    auto curve = curveOf(true);
    curve->keyframe(1)->setTangentsLocked(false);
    ASSERT_TRUE(curve->dragTangent(1, 0.3f, 2.0f, false));
    EXPECT_TRUE(curve->preserveTangentLock(1, false, 1.0f, 1.0f)) << "unlocked: nothing to do";
    ASSERT_TRUE(curve->setTangentsLocked(1, true));
    ASSERT_TRUE(curve->preserveTangentLock(1, false, 1.0f, 1.0f));
    EXPECT_NEAR(cross(*curve, 1), 0.0f, kCollinearTolerance);
    auto const inLine = bitsOf(*curve);
    curve->setLockedParams(~0u);
    EXPECT_TRUE(curve->preserveTangentLock(1, false, 1.0f, 1.0f)) << "already in line: no change asked for";
    EXPECT_EQ(bitsOf(*curve), inLine);
}

}  // namespace
