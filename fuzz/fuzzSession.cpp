#include "fuzz/fuzzSession.h"

#include "support/curveBuilders.h"

#include <keelanim/keelanim.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

// KEEL_FUZZ_TRACE=1 prints each call's kind, curve and variant, for triage.
bool const gTrace = std::getenv("KEEL_FUZZ_TRACE") != nullptr;
// KEEL_FUZZ_EACH_CALL=1 makes every call an undo step of its own and checks
// its undo and redo at once: which call breaks a failing step, for triage.
bool const gEachCall = std::getenv("KEEL_FUZZ_EACH_CALL") != nullptr;

// The variant of a call, read from the input (and printed when tracing).
unsigned variant(unsigned choice)
{
    if (gTrace) {
        std::fprintf(stderr, "   variant %u\n", choice);
    }
    return choice;
}

[[noreturn]] void broke(char const* what, std::string const& detail)
{
    std::fprintf(stderr, "invariant broken: %s\n%s\n", what, detail.c_str());
    std::abort();
}

// The input read as a stream of choices; past its end every choice is 0.
// Reads happen in statement order, or left to right inside braces: C++
// leaves the order of function arguments open (clang and GCC differ), and
// the corpus must mean the same to the fuzzer and to the replay.
class Tbytes {
public:
    Tbytes(std::uint8_t const* data, std::size_t size) : fData(data), fSize(size) {}

    bool more() const { return fAt < fSize; }
    unsigned byte() { return fAt < fSize ? fData[fAt++] : 0u; }
    unsigned below(unsigned n)
    {
        if (n == 0) {
            return 0;
        }
        unsigned const low = byte();
        unsigned const high = byte();
        return (low | (high << 8)) % n;
    }
    bool flag() { return (byte() & 1u) != 0; }
    // Mostly a plain number in [-128, 128) in steps of 1/256, sometimes
    // one of the numbers that break careless arithmetic.
    double number()
    {
        static double const odd[] = {std::numeric_limits<double>::quiet_NaN(),
                                     std::numeric_limits<double>::infinity(),
                                     -std::numeric_limits<double>::infinity(),
                                     double(FLT_MAX),
                                     -double(FLT_MAX),
                                     DBL_MAX,
                                     -DBL_MAX,
                                     -0.0,
                                     1e-30,
                                     1e30,
                                     1e-6,
                                     4096.0};
        unsigned const kind = byte();
        if (kind < 20) {
            return odd[kind % std::size(odd)];
        }
        unsigned const high = byte();
        unsigned const low = byte();
        return static_cast<std::int16_t>((high << 8) | low) / 256.0;
    }
    // A number that is mostly small and sane, for times and scales.
    double modest() { return byte() < 16 ? number() : double(static_cast<std::int8_t>(byte())) / 8.0; }

private:
    std::uint8_t const* fData;
    std::size_t fSize;
    std::size_t fAt = 0;
};

TtangentType anyType(Tbytes& in)
{
    static TtangentType const types[] = {kTangentGlobal,     kTangentFixed,    kTangentLinear,    kTangentFlat,
                                         kTangentSmooth,     kTangentStep,     kTangentSlow,      kTangentFast,
                                         kTangentOldClamped, kTangentSpline,   kTangentClamped,   kTangentHermite,
                                         kTangentBezier,     kTangentSine,     kTangentParabolic, kTangentLog,
                                         kTangentPlateau,    kTangentStepNext, kTangentAuto};
    unsigned const pick = in.byte();
    return pick < 240 ? types[pick % std::size(types)] : static_cast<TtangentType>(int(pick) - 200);
}

constexpr unsigned kMaxSessionKeys = 512;
constexpr std::size_t kKeptHandles = 32;

// Curves of both forms and a rotation triple, with the handles, picks and
// clipboard a host keeps around them, and the undo steps made so far.
class Tworld {
public:
    Tworld()
    {
        fCurves.push_back(std::make_unique<TparamCurve>(true));
        fCurves.push_back(std::make_unique<TparamCurve>(false));
        for (int axis = 0; axis < 3; ++axis) {
            fCurves.push_back(std::make_unique<TparamCurve>(true));
        }
        fTriple = std::make_unique<TrotationTriple>(*fCurves[2], *fCurves[3], *fCurves[4]);
    }
    Tworld(Tworld const&) = delete;
    Tworld& operator=(Tworld const&) = delete;
    ~Tworld()
    {
        // Handles and picks outlive nothing: they go before the curves, the
        // triple's link too.
        fHandles.clear();
        fPicks.reset();
        fSteps.clear();
        fTriple.reset();
    }

    unsigned count() const { return unsigned(fCurves.size()); }
    // A cursor kept for each curve across the whole session.
    TevalCursor& cursor(unsigned i) { return fCursors[i % fCursors.size()]; }
    // Whether a curve has grown past what a session keeps working on: a
    // paste or an infinity copy can make thousands of keys, and every later
    // call, check and undo would then pay for them.
    bool anyLocked() const
    {
        return std::any_of(fCurves.begin(), fCurves.end(), [](auto const& c) { return c->lockedParams() != 0; });
    }
    bool overgrown() const
    {
        return std::any_of(fCurves.begin(), fCurves.end(),
                           [](auto const& c) { return c->keyframeCountAll() > kMaxSessionKeys; });
    }
    TparamCurve& curve(unsigned i) { return *fCurves[i % fCurves.size()]; }
    TrotationTriple& triple() { return *fTriple; }
    std::vector<std::unique_ptr<TkeyframeHandle>>& handles() { return fHandles; }
    // Keeps the newest handles only: every key added or removed tells each
    // handle of its curve, and a long session would otherwise spend its time
    // there. Older handles still outlive the keys they named.
    void forgetOldHandles()
    {
        if (fHandles.size() > kKeptHandles) {
            fHandles.erase(fHandles.begin(), fHandles.end() - kKeptHandles);
        }
    }
    TclipboardCurves& clipboard() { return fClipboard; }
    std::unique_ptr<TpickKeyList>& picks() { return fPicks; }
    TparamCurve*& picksCurve() { return fPicksCurve; }

    std::string state()
    {
        std::string all;
        for (auto const& c : fCurves) {
            all += keeltest::curveState(*c) + "--\n";
        }
        return all;
    }

    // The same contents bit for bit, cheap to take and compare; state()
    // spells them out when they differ.
    std::vector<std::uint64_t> fingerprint() const
    {
        std::vector<std::uint64_t> bits;
        for (auto const& c : fCurves) {
            bits.push_back(std::uint64_t(c->preInfinityType()) << 40 | std::uint64_t(c->postInfinityType()) << 20 |
                           std::uint64_t(c->isWeighted()));
            for (unsigned i = 0; i < c->keyframeCountAll(); ++i) {
                Tkeyframe const* key = c->keyframe(i);
                float tangents[4] = {};
                key->getTanIn(tangents[0], tangents[1]);
                key->getTanOut(tangents[2], tangents[3]);
                bits.push_back(key->timeValue().rawSlot());
                bits.push_back(std::bit_cast<std::uint64_t>(key->value()));
                bits.push_back(std::uint64_t(std::bit_cast<std::uint32_t>(tangents[0])) << 32 |
                               std::bit_cast<std::uint32_t>(tangents[1]));
                bits.push_back(std::uint64_t(std::bit_cast<std::uint32_t>(tangents[2])) << 32 |
                               std::bit_cast<std::uint32_t>(tangents[3]));
                bits.push_back(std::uint64_t(std::uint32_t(key->storedTanInType())) << 32 |
                               std::uint32_t(key->storedTanOutType()));
                bits.push_back(key->flags().word() & ~std::uint64_t(kPickPartsMask));
                bits.push_back(std::bit_cast<std::uint64_t>(double(key->quatComponent())));
            }
            bits.push_back(~std::uint64_t(0));  // the end of a curve
        }
        return bits;
    }

    void openStep()
    {
        fSteps.push_back(std::make_unique<TparamCurveDeltaUser>());
        for (auto const& c : fCurves) {
            fSteps.back()->beginParamCurveMod(*c);
        }
        fOpen = true;
    }
    void closeStep()
    {
        if (!fOpen) {
            return;
        }
        for (auto const& c : fCurves) {
            fSteps.back()->endParamCurveMod(*c);
        }
        fOpen = false;
    }
    std::vector<std::unique_ptr<TparamCurveDeltaUser>>& steps() { return fSteps; }

private:
    std::vector<std::unique_ptr<TparamCurve>> fCurves;
    std::unique_ptr<TrotationTriple> fTriple;
    std::array<TevalCursor, 5> fCursors;
    std::vector<std::unique_ptr<TkeyframeHandle>> fHandles;
    std::unique_ptr<TpickKeyList> fPicks;
    TparamCurve* fPicksCurve = nullptr;
    TclipboardCurves fClipboard;
    std::vector<std::unique_ptr<TparamCurveDeltaUser>> fSteps;
    bool fOpen = false;
};

TtimeValue anyTime(Tbytes& in, TparamCurve const& curve)
{
    double const seconds = in.modest() + 2.0;
    if (in.byte() < 8) {
        return curve.isFloatCurve() ? TtimeValue(TanimTime(seconds, kSeconds)) : TtimeValue(float(seconds));
    }
    return curve.isFloatCurve() ? TtimeValue(float(seconds)) : TtimeValue(TanimTime(seconds, kSeconds));
}

// The first time read minus the second.
TtimeValue timeDifference(Tbytes& in, TparamCurve const& curve)
{
    TtimeValue const first = anyTime(in, curve);
    TtimeValue const second = anyTime(in, curve);
    return first - second;
}

Tkeyframe anyKey(Tbytes& in, TparamCurve const& curve)
{
    TtimeValue const time = anyTime(in, curve);
    auto const [value, inType, outType] = std::tuple{in.number(), anyType(in), anyType(in)};
    Tkeyframe key(time, value, inType, outType);
    auto const [inX, inY, outX, outY] =
        std::tuple{float(in.number()), float(in.number()), float(in.number()), float(in.number())};
    key.setTanIn(inX, inY);
    key.setTanOut(outX, outY);
    key.setBreakdown(in.byte() < 24);
    return key;
}

unsigned anyIndex(Tbytes& in, TparamCurve const& curve)
{
    unsigned const n = curve.keyframeCountAll();
    unsigned const pick = in.byte();
    return pick < 8 ? n + pick - 4 : (n == 0 ? 0 : pick % n);  // now and then just off either end
}

// Handles to a run of keys, some made as clients; owned by the world.
TkeyframeHandlePtrArray anyRun(Tbytes& in, Tworld& world, TparamCurve& curve)
{
    TkeyframeHandlePtrArray run;
    unsigned const n = curve.keyframeCountAll();
    if (n == 0) {
        return run;
    }
    unsigned const first = in.below(n);
    unsigned const last = std::min(n - 1, first + in.below(6));
    world.forgetOldHandles();
    for (unsigned i = first; i <= last; ++i) {
        world.handles().push_back(std::make_unique<TkeyframeHandle>(&curve, i, in.flag()));
        run.addLast(world.handles().back().get());
    }
    return run;
}

void makePicks(Tbytes& in, Tworld& world, TparamCurve& curve)
{
    world.picks() = std::make_unique<TpickKeyList>();
    world.picksCurve() = &curve;
    unsigned const n = curve.keyframeCountAll();
    for (unsigned i = 0; n > 0 && i < 1 + in.below(6); ++i) {
        static std::uint32_t const masks[] = {kPickKeyMask, kPickInTangentMask, kPickOutTangentMask,
                                              kPickInTangentMask | kPickOutTangentMask};
        TpickKey pick;
        auto const [index, mask, inactive] = std::tuple{in.below(n), masks[in.below(4)], in.flag()};
        pick.create(&curve, index, TbitField32(mask), inactive, true);
        if (!world.picks()->merge(pick)) {
            world.picks()->insert(curve.timeValue(index), pick);
        }
    }
}

TpickKeyList const& picksOn(Tbytes& in, Tworld& world, TparamCurve& curve)
{
    if (world.picks() == nullptr || world.picksCurve() != &curve || in.byte() < 64) {
        makePicks(in, world, curve);
    }
    return *world.picks();
}

void moveOp(Tbytes& in, Tworld& world, TparamCurve& curve)
{
    auto const option = static_cast<TparamCurveEnums::TmoveOption>(int(in.below(7)) - 1);
    switch (variant(in.below(4))) {
    case 0: {
        TkeyframeHandlePtrArray run = anyRun(in, world, curve);
        TtimeValueArray newTimes, oldTimes;
        TdoubleArray newValues, oldValues;
        TtimeValue const offset = timeDifference(in, curve);
        for (TkeyframeHandle* handle : run) {
            newTimes.addLast(handle->timeValue() + offset);
            newValues.addLast(handle->value() + in.modest());
        }
        curve.beginMoveKeys(run);
        curve.moveKeys(run, newTimes, oldTimes, newValues, oldValues, option, in.flag());
        curve.endMoveKeys();
        break;
    }
    case 1: {
        auto const [index, time, value] = std::tuple{anyIndex(in, curve), anyTime(in, curve), in.number()};
        curve.moveKeyframe(index, time, value, option, true);
        break;
    }
    case 2: {
        auto const [index, value, second] = std::tuple{anyIndex(in, curve), in.number(), in.number()};
        curve.moveKeyframeInValue(index, value, second);
        break;
    }
    default: {
        TkeyframeHandlePtrArray run = anyRun(in, world, curve);
        TtimeValueArray newTimes, replaced;
        for (unsigned i = 0; i < run.count(); ++i) {
            newTimes.addLast(anyTime(in, curve));
        }
        curve.replaceKeys(run, newTimes, replaced, option);
        break;
    }
    }
}

void scaleOp(Tbytes& in, Tworld& world, TparamCurve& curve)
{
    switch (variant(in.below(3))) {
    case 0: {
        auto const [start, end, newStart, newEnd, pivot] = std::tuple{
            anyTime(in, curve), anyTime(in, curve), anyTime(in, curve), anyTime(in, curve), anyTime(in, curve)};
        curve.scaleRegion(start, end, newStart, newEnd, pivot);
        break;
    }
    case 1: {
        TkeyframeHandlePtrArray run = anyRun(in, world, curve);
        auto const [timeScale, timePivot, valueScale, valuePivot] =
            std::tuple{float(in.modest()), float(in.modest()), float(in.modest()), in.modest()};
        curve.scaleTimeAndValue(run, timeScale, timePivot, valueScale, valuePivot);
        break;
    }
    default: {
        TpickKeyList const& picks = picksOn(in, world, curve);
        auto const [timeScale, timePivot, valueScale, valuePivot, liveOnly, followBreakdowns] =
            std::tuple{float(in.modest()), anyTime(in, curve), float(in.modest()), in.modest(), in.flag(), in.flag()};
        curve.scaleTimeAndValue(picks, timeScale, timePivot, valueScale, valuePivot, liveOnly, followBreakdowns);
        break;
    }
    }
}

void changeFunctionOp(Tbytes& in, Tworld& world, TparamCurve& curve)
{
    TkeyframeHandlePtrArray run = anyRun(in, world, curve);
    auto const option = static_cast<TparamCurveEnums::TmoveOption>(int(in.below(5)));
    TtimeValueArray oldTimes;
    curve.beginMoveKeys(run);
    if (in.flag()) {
        TfalloffFn falloff;
        falloff.setTimeChange(timeDifference(in, curve));
        falloff.setValueChange(in.number());
        falloff.setFalloffType(static_cast<TfalloffFn::TfalloffFnType>(in.below(3)));
        if (in.flag()) {
            falloff.setRequiredTimeFormat(&curve);
        }
        for (TkeyframeHandle* handle : run) {
            falloff.addKeyframeDist(handle->keyframe(), in.number());
        }
        in.flag() ? curve.applyMoveKeyList(falloff, option, in.flag())
                  : curve.moveKeys(run, oldTimes, falloff, option, in.flag());
    } else {
        auto* lattice = new TsharedLatticeObject();
        lattice->ref();
        lattice->setSDivisions(in.below(5));
        lattice->setTDivisions(in.below(5));
        lattice->setEnvelope(float(in.modest()));
        lattice->setBoundingRect(TdblRect{in.modest(), in.modest(), in.modest() + 4.0, in.modest() + 4.0});
        TlatticeFn deform;
        deform.setLatticeParams(lattice);
        for (TkeyframeHandle* handle : run) {
            deform.addOrigValue(handle->keyframe(), float(handle->timeValue().seconds()), handle->value(), in.number());
        }
        auto const [s, t, x, y] = std::tuple{in.below(4), in.below(4), in.modest(), in.modest()};
        lattice->setLatticePair(s, t, x, y);
        deform.setLatticeDirty();
        curve.moveKeys(run, oldTimes, deform, option, in.flag());
        if (in.flag()) {
            deform.undo();
        }
        lattice->unref();
    }
    curve.endMoveKeys();
}

void retimeOp(Tbytes& in, Tworld& world, TparamCurve& curve)
{
    TpickKeyList region;
    TpickKeyList ripple;
    unsigned const n = curve.keyframeCountAll();
    unsigned const split = n == 0 ? 0 : in.below(n);
    for (unsigned i = split; i < n; ++i) {
        TpickKey pick;
        pick.create(&curve, i, TbitField32(kPickKeyMask), false, true);
        (i <= split + in.below(3) ? region : ripple).insert(curve.timeValue(i), pick);
    }
    TpickKeyList const& other = in.flag() ? picksOn(in, world, curve) : region;
    auto const [scaleA, scaleB, rippleOffset, pivotA, pivotB] =
        std::tuple{float(in.modest()), float(in.modest()), float(in.modest()), anyTime(in, curve), anyTime(in, curve)};
    curve.retimeRegions(region, other, ripple, scaleA, scaleB, rippleOffset, pivotA, pivotB);
}

void clipboardOp(Tbytes& in, Tworld& world, TparamCurve& curve)
{
    TclipboardCurves& clipboard = world.clipboard();
    switch (variant(in.below(5))) {
    case 0: {
        auto const [start, end, option] = std::tuple{anyTime(in, curve), anyTime(in, curve), in.below(4)};
        clipboard.copyRange(curve, start, end, TparamCurve::TcopyOption(option));
        break;
    }
    case 1: {
        auto const [start, end, option] = std::tuple{anyTime(in, curve), anyTime(in, curve), in.below(8)};
        clipboard.cutRange(curve, start, end, TparamCurve::TcutOption(option));
        break;
    }
    case 2: {
        TparamCurve* slots[3] = {};
        TpickKeyList const& picks = picksOn(in, world, curve);
        unsigned const made = in.flag() ? curve.copy(picks, TparamCurve::TcopyOption(in.below(3)), slots)
                                        : curve.cut(picks, TparamCurve::TcutOption(in.below(7)), slots);
        for (unsigned i = 0; i < made && i < 3; ++i) {
            delete slots[i];
        }
        break;
    }
    default: {
        TpasteSettings settings;
        settings.fRepetitions = in.below(4);
        settings.fConnect = in.flag();
        settings.fValueOffset = in.byte() < 32 ? in.number() : 0.0;
        settings.fValueScale = in.byte() < 32 ? in.number() : 1.0;
        settings.fSourceIndex = in.below(4);
        auto const [start, length, option] = std::tuple{anyTime(in, curve), anyTime(in, curve), in.below(12)};
        clipboard.pasteOnto(curve, start, start + length, TparamCurve::TpasteOption(option), settings);
        break;
    }
    }
}

void rotationOp(Tbytes& in, Tworld& world)
{
    TrotationTriple& triple = world.triple();
    switch (variant(in.below(3))) {
    case 0: triple.setRotationInterpolation(TparamCurveEnums::TrotationInterpolation(in.below(7))); break;
    case 1: {
        auto const [time, angles, inType, outType] =
            std::tuple{anyTime(in, *triple.channel(0)), TrotateXYZ{in.number(), in.number(), in.number()}, anyType(in),
                       anyType(in)};
        triple.setKey(time, angles, inType, outType);
        break;
    }
    default: {
        TparamCurve& x = *triple.channel(0);
        auto const [index, time, rotation, option] =
            std::tuple{anyIndex(in, x), anyTime(in, x), Tquaternion{in.modest(), in.modest(), in.modest(), in.modest()},
                       in.below(4)};
        x.moveKeyframe(index, time, rotation, TparamCurveEnums::TmoveOption(option), true);
        break;
    }
    }
}

void tangentOp(Tbytes& in, Tworld& world, TparamCurve& curve)
{
    unsigned const at = anyIndex(in, curve);
    switch (variant(in.below(7))) {
    case 0: {
        auto const [inType, outType] = std::tuple{anyType(in), anyType(in)};
        curve.setTangentType(at, inType, outType);
        break;
    }
    case 1: {
        auto const [x, y, side] = std::tuple{float(in.number()), float(in.number()), in.flag()};
        curve.dragTangent(at, x, y, side);
        break;
    }
    case 2: {
        auto const [x, y, side, xScale] =
            std::tuple{float(in.number()), float(in.number()), in.flag(), float(in.modest())};
        curve.editTangent(at, x, y, side, xScale, 1.0f);
        break;
    }
    case 3: curve.setTangentsLocked(at, in.flag()); break;
    case 4: curve.setWeightsLocked(at, in.flag()); break;
    case 5: curve.setIsWeighted(in.flag()); break;
    default: {
        TpickKeyList const& picks = picksOn(in, world, curve);
        auto const [x, y] = std::tuple{float(in.number()), float(in.number())};
        curve.adjustTangents(picks, x, y, 1.0f, 1.0f);
        break;
    }
    }
}

void keyOp(Tbytes& in, TparamCurve& curve)
{
    switch (variant(in.below(9))) {
    case 0: {
        auto const [key, select, keepTangents, quiet] = std::tuple{anyKey(in, curve), in.flag(), in.flag(), in.flag()};
        curve.add(key, select, keepTangents, quiet);
        break;
    }
    case 1: {
        auto const [key, keepTangents, select] = std::tuple{anyKey(in, curve), in.flag(), in.flag()};
        curve.insert(key, keepTangents, select);
        break;
    }
    case 2: {
        auto const [key, preserveShape] = std::tuple{anyKey(in, curve), in.flag()};
        curve.insertKey(key, preserveShape);
        break;
    }
    case 3: {
        auto const [time, breakdown, allChannels] = std::tuple{anyTime(in, curve), in.flag(), in.flag()};
        curve.insert(time, breakdown, allChannels);
        break;
    }
    case 4: {
        TanimTimeArray times;
        TdoubleArray values;
        for (unsigned k = 0; k < in.below(6); ++k) {
            times.addLast(TanimTime(in.modest() + 2.0, kSeconds));
            values.addLast(in.number());
        }
        auto const [inType, outType] = std::tuple{anyType(in), anyType(in)};
        curve.blockAdd(times, values, inType, outType);
        break;
    }
    case 5: {
        auto const [index, allChannels] = std::tuple{anyIndex(in, curve), in.flag()};
        curve.remove(index, nullptr, allChannels);
        break;
    }
    case 6:
        if (Tkeyframe* old = curve.keyframe(anyIndex(in, curve))) {
            Tkeyframe replacement(*old);
            replacement.setValue(in.number());
            replacement.setTanOutType(anyType(in));
            curve.replaceKey(old, replacement);
        }
        break;
    case 7: {
        auto const [index, on] = std::tuple{anyIndex(in, curve), in.flag()};
        curve.setBreakdown(index, on);
        break;
    }
    default:
        in.flag() ? curve.setPreInfinityType(TparamCurveEnums::TinfinityType(int(in.below(8)) - 1))
                  : curve.setPostInfinityType(TparamCurveEnums::TinfinityType(int(in.below(8)) - 1));
        break;
    }
}

// Handles and picks are read whatever became of their keys.
void readHandles(Tworld& world)
{
    double sink = 0.0;
    for (auto const& handle : world.handles()) {
        sink += handle->timeValue().seconds() + handle->value();
        sink += handle->keyframe() != nullptr ? 1.0 : 0.0;
    }
    if (world.picks() != nullptr) {
        for (TpickKeyDictionaryNode* node = world.picks()->first(); node != nullptr; node = node->next()) {
            sink += node->pick().timeValue().seconds();
        }
    }
    static_cast<void>(sink);
}

// The curve's invariants; `cursor` has evaluated it after earlier calls and
// must follow its edits, answering exactly what the curve answers.
void checkCurve(TparamCurve& curve, TevalCursor& cursor, char const* after)
{
    if (!keeltest::keysInOrder(curve)) {
        broke(after, "keys out of order\n" + keeltest::curveState(curve));
    }
    unsigned const n = curve.keyframeCountAll();
    for (unsigned i = 0; i < n; ++i) {
        Tkeyframe const* key = curve.keyframe(i);
        float ix = 0, iy = 0, ox = 0, oy = 0;
        key->getTanIn(ix, iy);
        key->getTanOut(ox, oy);
        if (!std::isfinite(key->value()) || !std::isfinite(ix) || !std::isfinite(iy) || !std::isfinite(ox) ||
            !std::isfinite(oy) || !std::isfinite(key->quatComponent()) || !std::isfinite(key->seconds())) {
            broke(after, "a key holds a number that is not finite\n" + keeltest::curveState(curve));
        }
    }
    if (n == 0) {
        return;
    }
    double const first = curve.timeValue(0u).seconds();
    double const last = curve.timeValue(n - 1).seconds();
    for (double t : {first - 1.5, first, (first + last) / 2.0, last, last + 2.25, first - 1e5, 1e6}) {
        TtimeValue const time = curve.isFloatCurve() ? TtimeValue(float(t)) : TtimeValue(TanimTime(t, kSeconds));
        if (!std::isfinite(time.seconds())) {
            continue;
        }
        double const value = curve.evaluate(time);
        if (!std::isfinite(value)) {
            broke(after, "evaluation at a finite time is not finite: t = " + std::to_string(t) + "\n" +
                             keeltest::curveState(curve));
        }
        double const throughCursor = std::as_const(curve).evaluate(time, cursor);
        if (std::bit_cast<std::uint64_t>(throughCursor) != std::bit_cast<std::uint64_t>(value)) {
            broke(after, "a cursor's evaluation differs from the curve's: t = " + std::to_string(t) + "\n" +
                             keeltest::curveState(curve));
        }
    }
    static_cast<void>(curve.evaluate(TtimeValue(std::numeric_limits<float>::quiet_NaN())));
}

// Undoes and redoes the step of the last call, which must give back the
// curves before it (`before`) and after it.
void checkLastCall(Tworld& world, char const* op, std::vector<std::uint64_t> const& before)
{
    world.closeStep();
    std::vector<std::uint64_t> const after = world.fingerprint();
    world.steps().back()->undoPC();
    // A locked curve refuses the undo: only the redo is owed then.
    if (!world.anyLocked() && world.fingerprint() != before) {
        std::string const undone = world.state();
        world.steps().back()->redoPC();
        broke(op, "undo of this call alone differs\nafter (redone):\n" + world.state() + "undone:\n" + undone);
    }
    world.steps().back()->redoPC();
    if (world.fingerprint() != after) {
        broke(op, "redo of this call alone differs\nredone:\n" + world.state());
    }
    world.openStep();
}

char const* const kOpNames[] = {
    "key edit",  "tangent edit", "move",       "scale",      "change-function move", "retime",
    "clipboard", "rotation",     "evaluation", "curve lock", "step boundary",        "undo and redo of the last step"};

}  // namespace

void runFuzzInput(std::uint8_t const* data, std::size_t size)
{
    Tbytes in(data, size);
    Tworld world;
    std::vector<std::uint64_t> const first = world.fingerprint();
    world.openStep();
    for (unsigned ops = 0; in.more() && ops < 64 && !world.overgrown(); ++ops) {
        std::vector<std::uint64_t> const before = gEachCall ? world.fingerprint() : std::vector<std::uint64_t>();
        unsigned const op = in.below(std::size(kOpNames));
        unsigned const which = in.below(world.count());
        TparamCurve& curve = world.curve(which);
        if (gTrace) {
            std::fprintf(stderr, "%u: %s on curve %u\n", ops, kOpNames[op], which);
        }
        switch (op) {
        case 0: keyOp(in, curve); break;
        case 1: tangentOp(in, world, curve); break;
        case 2: moveOp(in, world, curve); break;
        case 3: scaleOp(in, world, curve); break;
        case 4: changeFunctionOp(in, world, curve); break;
        case 5: retimeOp(in, world, curve); break;
        case 6: clipboardOp(in, world, curve); break;
        case 7: rotationOp(in, world); break;
        case 8: static_cast<void>(curve.evaluate(anyTime(in, curve))); break;
        case 9: curve.setLockedParams(in.byte() < 200 ? 0u : in.below(1u << 15)); break;
        case 10:
            world.closeStep();
            world.openStep();
            break;
        default: {
            world.closeStep();
            std::vector<std::uint64_t> const done = world.fingerprint();
            world.steps().back()->undoPC();
            world.steps().back()->redoPC();
            if (world.fingerprint() != done) {
                broke("undo and redo of the last step", "redo did not give back the step's curves");
            }
            world.openStep();
            break;
        }
        }
        for (unsigned c = 0; c < world.count(); ++c) {
            checkCurve(world.curve(c), world.cursor(c), kOpNames[op]);
        }
        if (gTrace) {
            std::fprintf(stderr, "%s", world.state().c_str());
        }
        readHandles(world);
        if (gEachCall) {
            checkLastCall(world, kOpNames[op], before);
        }
    }
    world.closeStep();
    for (unsigned c = 0; c < world.count(); ++c) {
        world.curve(c).setLockedParams(0);
    }
    std::vector<std::uint64_t> const last = world.fingerprint();
    std::string const lastText = gTrace ? world.state() : std::string();
    for (auto step = world.steps().rbegin(); step != world.steps().rend(); ++step) {
        (*step)->undoPC();
    }
    if (world.fingerprint() != first) {
        broke("undo of every step", "the first curves did not come back\n" + world.state());
    }
    for (auto const& step : world.steps()) {
        step->redoPC();
    }
    if (world.fingerprint() != last) {
        for (auto const& step : world.steps()) {
            std::string records;
            for (unsigned i = 0; i < step->step().length(); ++i) {
                records += std::string(" ") + step->step().delta(i)->typeof()->name();
            }
            std::fprintf(stderr, "step:%s\n", records.c_str());
        }
        broke("redo of every step", "the last curves did not come back\n" + world.state() + "\nexpected\n" + lastText +
                                        "(KEEL_FUZZ_TRACE=1 prints the expected curves)");
    }
}
