// Bad input at every entry point that takes a time, value, tangent, index,
// pointer, scale or option: NaN, infinities, the ends of the float and
// double ranges, -1 and the key count as indices, null, unknown enumeration
// values and handles whose key or curve is gone. Each row states the
// documented answer; a refusal must leave the curve exactly as it was, and
// an accepted extreme must leave it in order with nothing but finite numbers.

#include "support/curveBuilders.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace {

float const kNaN = std::numeric_limits<float>::quiet_NaN();
float const kInf = std::numeric_limits<float>::infinity();
double const kNaNd = std::numeric_limits<double>::quiet_NaN();
double const kInfd = std::numeric_limits<double>::infinity();
unsigned const kMinusOne = ~0u;
constexpr unsigned kKeys = 4;

// Four keys a second apart, spline tangents, handles to two of them and to
// one whose key was removed.
struct Tfixture {
    std::unique_ptr<TparamCurve> fCurve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 2.0}, {2.0f, 1.0}, {3.0f, 3.0}});
    std::unique_ptr<TparamCurve> fOther = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 1.0}});
    std::unique_ptr<TkeyframeHandle> fFirst = std::make_unique<TkeyframeHandle>(fCurve.get(), 0u, true);
    std::unique_ptr<TkeyframeHandle> fGone;

    Tfixture()
    {
        fGone = std::make_unique<TkeyframeHandle>(fOther.get(), 1u, true);
        fOther->remove(1);
    }
    TparamCurve& curve() { return *fCurve; }
    TkeyframeHandlePtrArray handles(std::initializer_list<TkeyframeHandle*> list)
    {
        TkeyframeHandlePtrArray out;
        for (TkeyframeHandle* h : list) {
            out.addLast(h);
        }
        return out;
    }
};

enum class Tanswer { kRefused, kAccepted };

struct Trow {
    char const* fEntry;
    char const* fBad;
    Tanswer fAnswer;
    std::function<bool(Tfixture&)> fCall;
};

bool holdsOnlyFiniteNumbers(TparamCurve const& curve)
{
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        Tkeyframe const* key = curve.keyframe(i);
        float ix = 0, iy = 0, ox = 0, oy = 0;
        key->getTanIn(ix, iy);
        key->getTanOut(ox, oy);
        if (!std::isfinite(key->value()) || !std::isfinite(key->seconds()) || !std::isfinite(ix) ||
            !std::isfinite(iy) || !std::isfinite(ox) || !std::isfinite(oy)) {
            return false;
        }
    }
    return true;
}

TtimeValue t(float seconds)
{
    return TtimeValue(seconds);
}

std::vector<Trow> const& rows()
{
    using R = Tanswer;
    static std::vector<Trow> const table = {
        // Key access and queries.
        {"keyframe", "the key count", R::kRefused, [](Tfixture& f) { return f.curve().keyframe(kKeys) != nullptr; }},
        {"keyframe", "-1", R::kRefused, [](Tfixture& f) { return f.curve().keyframe(kMinusOne) != nullptr; }},
        {"find", "NaN", R::kRefused, [](Tfixture& f) { unsigned i = 0; return f.curve().find(t(kNaN), i); }},
        {"evaluate(index)", "the key count", R::kRefused,
         [](Tfixture& f) { double v = 0; return f.curve().evaluate(kKeys, &v, nullptr); }},
        {"evaluate(times, values)", "fewer values than times", R::kRefused,
         [](Tfixture& f) {
             float const times[] = {0.5f, 1.5f};
             double values[1] = {};
             return f.curve().evaluate(std::span<float const>(times), values);
         }},
        {"evaluate(curves, time, values)", "a null curve, NaN", R::kAccepted,
         [](Tfixture& f) {
             TparamCurve* const curves[] = {&f.curve(), nullptr};
             double values[2] = {1.0, 1.0};
             return TparamCurve::evaluate(std::span<TparamCurve* const>(curves), t(kNaN), values) &&
                    values[0] == f.curve().evaluate(kNaN) && values[1] == 0.0;
         }},
        {"evaluate(times, values, cursor)", "NaN, ±inf, FLT_MAX", R::kAccepted,
         [](Tfixture& f) {
             TtimeValue const times[] = {t(kNaN), t(kInf), t(-kInf), t(FLT_MAX), t(-FLT_MAX)};
             double values[5] = {};
             TevalCursor cursor;
             bool same = std::as_const(f.curve()).evaluate(std::span<TtimeValue const>(times), values, cursor);
             for (int i = 0; i < 5; ++i) {
                 same = same && (values[i] == f.curve().evaluate(times[i]) ||
                                 (std::isnan(values[i]) && std::isnan(f.curve().evaluate(times[i]))));
             }
             return same;
         }},
        {"boundingBox", "the key count as span", R::kRefused,
         [](Tfixture& f) { float a, b; double c, d; return f.curve().boundingBox(kKeys, a, c, b, d, true); }},
        // Key edits.
        {"setValue", "NaN", R::kRefused, [](Tfixture& f) { return f.curve().setValue(1, kNaNd); }},
        {"setValue", "-1", R::kRefused, [](Tfixture& f) { return f.curve().setValue(kMinusOne, 1.0); }},
        {"setValue", "DBL_MAX", R::kAccepted, [](Tfixture& f) { return f.curve().setValue(1, DBL_MAX); }},
        {"setTime", "NaN", R::kRefused, [](Tfixture& f) { return f.curve().setTime(1, t(kNaN)); }},
        {"setTime", "the key count", R::kRefused, [](Tfixture& f) { return f.curve().setTime(kKeys, t(9.0f)); }},
        {"insert(time)", "NaN", R::kRefused, [](Tfixture& f) { return f.curve().insert(t(kNaN), false, false); }},
        {"insert(time)", "ticks on a seconds curve", R::kRefused,
         [](Tfixture& f) { return f.curve().insert(TanimTime::fromTicks(9000), false, false); }},
        {"insert(time)", "+inf", R::kAccepted, [](Tfixture& f) { return f.curve().insert(t(kInf), false, false); }},
        {"insert(time)", "-FLT_MAX", R::kAccepted,
         [](Tfixture& f) { return f.curve().insert(t(-FLT_MAX), false, false); }},
        {"remove", "the key count", R::kRefused, [](Tfixture& f) { return f.curve().remove(kKeys); }},
        {"replaceKey", "null", R::kRefused,
         [](Tfixture& f) { return f.curve().replaceKey(nullptr, *f.curve().keyframe(0)); }},
        {"replaceKey", "a key of another curve", R::kRefused,
         [](Tfixture& f) { return f.curve().replaceKey(f.fOther->keyframe(0), *f.curve().keyframe(0)); }},
        {"addRemovedKey", "null", R::kRefused, [](Tfixture& f) { return f.curve().addRemovedKey(nullptr); }},
        {"setBreakdown", "the key count", R::kRefused, [](Tfixture& f) { return f.curve().setBreakdown(kKeys, true); }},
        {"setPreInfinityType", "an unknown type (as constant)", R::kAccepted,
         [](Tfixture& f) { return f.curve().setPreInfinityType(TparamCurveEnums::TinfinityType(99)); }},
        // Tangents.
        {"setTangentType", "the key count", R::kRefused,
         [](Tfixture& f) { return f.curve().setTangentType(kKeys, kTangentFixed, kTangentFixed); }},
        {"setTangentType", "an unknown part", R::kRefused,
         [](Tfixture& f) { return f.curve().setTangentType(1, kTangentFixed, 99); }},
        {"dragTangent", "NaN", R::kRefused, [](Tfixture& f) { return f.curve().dragTangent(1, kNaN, 1.0f, true); }},
        {"dragTangent", "+inf", R::kRefused, [](Tfixture& f) { return f.curve().dragTangent(1, 1.0f, kInf, false); }},
        {"dragTangent", "-1", R::kRefused, [](Tfixture& f) { return f.curve().dragTangent(kMinusOne, 1.0f, 1.0f, false); }},
        {"editTangent", "a zero scale", R::kRefused,
         [](Tfixture& f) { return f.curve().editTangent(1, 1.0f, 1.0f, true, 0.0f, 1.0f); }},
        {"editTangent", "a NaN scale", R::kRefused,
         [](Tfixture& f) { return f.curve().editTangent(1, 1.0f, 1.0f, true, 1.0f, kNaN); }},
        {"setTanIn", "null", R::kRefused, [](Tfixture& f) { return f.curve().setTanIn(nullptr, 1.0f, 1.0f); }},
        {"setTanOut", "a key of another curve", R::kRefused,
         [](Tfixture& f) { return f.curve().setTanOut(f.fOther->keyframe(0), 1.0f, 1.0f); }},
        {"setTangentWeight", "NaN", R::kRefused,
         [](Tfixture& f) { float x, y; return f.curve().setTangentWeight(1, kNaN, true, x, y, 1.0f, 1.0f); }},
        {"tangentWeight", "a negative scale (answers 0)", R::kRefused,
         [](Tfixture& f) { return f.curve().tangentWeight(1, true, -1.0f, 1.0f) != 0.0; }},
        {"scaleTangentX", "null", R::kRefused, [](Tfixture& f) { return f.curve().scaleTangentX(nullptr, 2.0f, true, true); }},
        {"scaleTangentX", "NaN", R::kRefused,
         [](Tfixture& f) { return f.curve().scaleTangentX(f.curve().keyframe(1), kNaN, true, true); }},
        // Moves.
        {"moveKeyframe", "NaN time", R::kRefused,
         [](Tfixture& f) { return f.curve().moveKeyframe(1, t(kNaN), 1.0, {}, true); }},
        {"moveKeyframe", "+inf time", R::kRefused,
         [](Tfixture& f) { return f.curve().moveKeyframe(1, t(kInf), 1.0, {}, true); }},
        {"moveKeyframe", "NaN value", R::kRefused,
         [](Tfixture& f) { return f.curve().moveKeyframe(1, t(1.5f), kNaNd, {}, true); }},
        {"moveKeyframe", "-inf value", R::kRefused,
         [](Tfixture& f) { return f.curve().moveKeyframe(1, t(1.5f), -kInfd, {}, true); }},
        {"moveKeyframe", "the key count", R::kRefused,
         [](Tfixture& f) { return f.curve().moveKeyframe(kKeys, t(9.0f), 1.0, {}, true); }},
        {"moveKeyframe", "an unknown option (no restriction)", R::kAccepted,
         [](Tfixture& f) { return f.curve().moveKeyframe(1, t(1.5f), 1.0, TparamCurveEnums::TmoveOption(99), true); }},
        {"moveKeyframe", "FLT_MAX time", R::kAccepted,
         [](Tfixture& f) { return f.curve().moveKeyframe(3, t(FLT_MAX), 1.0, TparamCurveEnums::TmoveOption(5), true); }},
        {"moveKeyframeHelper", "null", R::kRefused,
         [](Tfixture& f) { return f.curve().moveKeyframeHelper(nullptr, 1, t(1.5f), 1.0, 1.0, {}, true); }},
        {"moveKeys", "a deleted key's handle", R::kRefused,
         [](Tfixture& f) {
             TkeyframeHandlePtrArray handles = f.handles({f.fGone.get()});
             TtimeValueArray to, from;
             TdoubleArray values, old;
             to.addLast(t(0.5f));
             f.curve().beginMoveKeys(handles);
             bool const moved = f.curve().moveKeys(handles, to, from, values, old, {}, false);
             f.curve().endMoveKeys();
             return moved;
         }},
        {"moveKeys", "times shorter than the handles", R::kRefused,
         [](Tfixture& f) {
             TkeyframeHandlePtrArray handles = f.handles({f.fFirst.get()});
             TtimeValueArray to, from;
             TdoubleArray values, old;
             f.curve().beginMoveKeys(handles);
             bool const moved = f.curve().moveKeys(handles, to, from, values, old, {}, false);
             f.curve().endMoveKeys();
             return moved;
         }},
        {"moveKeys(change function)", "a NaN change", R::kRefused,
         [](Tfixture& f) {
             TkeyframeHandlePtrArray handles = f.handles({f.fFirst.get()});
             TtimeValueArray from;
             TtimeValueChangeFn const change(t(0.25f), kNaNd);
             f.curve().beginMoveKeys(handles);
             bool const moved = f.curve().moveKeys(handles, from, change, {}, false);
             f.curve().endMoveKeys();
             return moved;
         }},
        {"replaceKeys", "option 0", R::kRefused,
         [](Tfixture& f) {
             TkeyframeHandlePtrArray handles = f.handles({f.fFirst.get()});
             TtimeValueArray to, replaced;
             to.addLast(t(1.0f));
             return f.curve().replaceKeys(handles, to, replaced, TparamCurveEnums::kMoveBetweenNeighbours);
         }},
        {"swapKeys", "the key count", R::kRefused, [](Tfixture& f) { return f.curve().swapKeys(0, kKeys); }},
        // Scales.
        {"scaleRegion", "NaN", R::kRefused,
         [](Tfixture& f) { return f.curve().scaleRegion(t(kNaN), t(1.0f), t(0.0f), t(2.0f), t(0.0f)); }},
        {"scaleRegion", "+inf", R::kRefused,
         [](Tfixture& f) { return f.curve().scaleRegion(t(0.0f), t(kInf), t(0.0f), t(2.0f), t(0.0f)); }},
        {"scaleTimeAndValue", "a zero scale", R::kRefused,
         [](Tfixture& f) {
             TkeyframeHandle last(f.fCurve.get(), 3u, false);
             TkeyframeHandlePtrArray handles = f.handles({f.fFirst.get(), &last});
             return f.curve().scaleTimeAndValue(handles, 0.0f, 0.0f, 1.0f, 0.0);
         }},
        {"scaleTimeAndValue", "a deleted key's handle", R::kRefused,
         [](Tfixture& f) {
             TkeyframeHandlePtrArray handles = f.handles({f.fGone.get()});
             return f.curve().scaleTimeAndValue(handles, 2.0f, 0.0f, 1.0f, 0.0);
         }},
        {"retimeRegions", "a NaN scale", R::kRefused,
         [](Tfixture& f) {
             TpickKeyList region;
             TpickKey pick;
             pick.create(f.fCurve.get(), 1u, TbitField32(kPickKeyMask), false, true);
             region.insert(f.curve().timeValue(1u), pick);
             TpickKeyList const none;
             return f.curve().retimeRegions(region, none, none, kNaN, 1.0f, 0.0f, t(0.0f), t(0.0f));
         }},
        // Rotation, clipboard.
        {"setRotationInterpolation", "an unknown mode", R::kRefused,
         [](Tfixture& f) {
             return f.curve().setRotationInterpolation(TparamCurveEnums::TrotationInterpolation(99));
         }},
        {"copyKeysInRange", "null result", R::kRefused,
         [](Tfixture& f) { return f.curve().copyKeysInRange(t(0.0f), t(1.0f), {}, nullptr) != 0; }},
        {"cutKeysInRange", "an unknown option", R::kRefused,
         [](Tfixture& f) {
             return f.curve().cutKeysInRange(t(0.0f), t(1.0f), TparamCurve::TcutOption(7), nullptr) != 0;
         }},
        {"cutKeysInRange", "-inf", R::kRefused,
         [](Tfixture& f) { return f.curve().cutKeysInRange(t(-kInf), t(1.0f), {}, nullptr) != 0; }},
        {"paste", "null clipboard", R::kRefused,
         [](Tfixture& f) { return f.curve().paste(t(0.0f), t(1.0f), 1, nullptr, {}, TpasteSettings{}) != 0; }},
        {"paste", "an empty clipboard curve", R::kRefused,
         [](Tfixture& f) {
             TparamCurve empty(true);
             TparamCurve* clipboard[] = {&empty};
             return f.curve().paste(t(0.0f), t(1.0f), 1, clipboard, {}, TpasteSettings{}) != 0;
         }},
        {"oneTickShorter", "NaN (answers NaN, changes nothing)", R::kRefused,
         [](Tfixture& f) { return !std::isnan(f.curve().oneTickShorter(t(kNaN)).seconds()); }},
    };
    return table;
}

TEST(BadInput, EveryEntryPointAnswersAsDocumented)
{
    for (Trow const& row : rows()) {
        Tfixture fixture;
        std::string const before = keeltest::curveState(fixture.curve());
        bool const accepted = row.fCall(fixture);
        std::string const what = std::string(row.fEntry) + " with " + row.fBad;
        EXPECT_EQ(accepted, row.fAnswer == Tanswer::kAccepted) << what;
        if (row.fAnswer == Tanswer::kRefused) {
            EXPECT_EQ(keeltest::curveState(fixture.curve()), before) << what;
        }
        EXPECT_TRUE(keeltest::keysInOrder(fixture.curve())) << what;
        EXPECT_TRUE(holdsOnlyFiniteNumbers(fixture.curve())) << what;
        EXPECT_TRUE(std::isfinite(fixture.curve().evaluate(1.5f))) << what;
    }
    std::printf("bad-input table: %zu rows\n", rows().size());
}

// What refers to a curve after the curve is deleted answers as if its key
// were gone, and its undo records become inert.
TEST(BadInput, ACurveDeletedUnderItsHandlesPicksRangesAndRecords)
{
    auto curve = keeltest::floatCurve({{0.0f, 0.0}, {1.0f, 2.0}, {2.0f, 1.0}});
    TkeyframeHandle handle(curve.get(), 1u, true);
    TpickKey pick;
    pick.create(curve.get(), 1u, TbitField32(kPickKeyMask), true, true);
    TparamCurveRange range(curve.get(), 0u, 2u);
    TparamCurveDeltaUser user;
    user.beginParamCurveMod(*curve);
    curve->moveKeyframe(1, TtimeValue(1.5f), 3.0, {}, true);
    curve->remove(0);
    user.endParamCurveMod(*curve);
    curve.reset();
    EXPECT_EQ(handle.keyframe(), nullptr);
    EXPECT_FALSE(handle.present());
    EXPECT_EQ(handle.timeValue().seconds(), 0.0);
    EXPECT_EQ(pick.timeValue().seconds(), 0.0);
    static_cast<void>(range.startTime());
    user.undoPC();  // inert: nothing to act on, nothing to crash on
    user.redoPC();
}

}  // namespace
