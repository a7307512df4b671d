#include "keelanim/keys/keyframe.h"

#include "keelanim/base/arena.h"
#include "keelanim/base/engineHooks.h"
#include "keelanim/base/numeric.h"
#include "keelanim/base/translator.h"
#include "keelanim/keys/pickParts.h"

#include <atomic>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

namespace {

constexpr unsigned long kKeyBlockSize = 64;
constexpr unsigned long kKeysPerPage = 1024;

static_assert(sizeof(Tkeyframe) == kKeyBlockSize, "keys fill one arena block exactly");

TcompactArena& keyArena()
{
    // Never destroyed: keys owned by statics of the host may outlive any
    // destruction order we could choose.
    static auto* arena =
        new TcompactArena(kKeyBlockSize, kKeysPerPage, TmallocAllocator::mallocAllocator(), "Tkeyframe");
    return *arena;
}

// Seconds for a float slot: clamped and snapped.
float clampSnapSeconds(float seconds)
{
    return static_cast<float>(snapToZero(narrowToFloat(seconds), kTangentSnap));
}

// The snap compares in the key's own single precision: the smallest forward
// step that validation gives a vertical tangent (1e-5 as a float, just below
// the double 1e-5) must stay, or the tangent would lie flat.
float clampSnapTangent(float component)
{
    constexpr auto kSnap = static_cast<float>(kTangentSnap);
    float const clamped = narrowToFloat(component);
    return (clamped > -kSnap && clamped < kSnap) ? 0.0f : clamped;
}

// Stores one side's tangent: the x never runs backwards in time, tiny
// components snap to zero, and NaN is refused.
bool storeTangent(float x, float y, float& storedX, float& storedY)
{
    if (std::isnan(x) || std::isnan(y)) {
        return false;
    }
    storedX = clampSnapTangent(x < 0.0f ? 0.0f : x);
    storedY = clampSnapTangent(y);
    return true;
}

double clampSnapValue(double value)
{
    return snapToZero(std::fmin(std::fmax(value, -kDoubleMax), kDoubleMax), kValueSnap);
}

// Single precision without clamping: beyond the float range the component
// becomes infinite.
float narrowUnclamped(double value)
{
    if (value > kFloatMax) {
        return std::numeric_limits<float>::infinity();
    }
    if (value < -kFloatMax) {
        return -std::numeric_limits<float>::infinity();
    }
    return static_cast<float>(value);
}

float auxComponent(double aux)
{
    if (aux < -kDoubleMax) {
        return -std::numeric_limits<float>::infinity();
    }
    if (aux > kDoubleMax) {
        return std::numeric_limits<float>::infinity();
    }
    return narrowUnclamped(snapToZero(aux, kValueSnap));
}

// The key-tangent preference's default types, when that preference exists.
bool keyTangentDefaults(TtangentType& in, TtangentType& out)
{
    std::int32_t preferredIn = in;
    std::int32_t preferredOut = out;
    if (!TengineHooks::defaultTangentTypes(preferredIn, preferredOut)) {
        return false;
    }
    in = static_cast<TtangentType>(preferredIn);
    out = static_cast<TtangentType>(preferredOut);
    return true;
}

}  // namespace

bool Tkeyframe::fsOverrideTangentsForBlockingMode = false;

// Keys live on whatever thread uses their curve.
std::uint32_t Tkeyframe::nextSerial()
{
    static std::atomic<std::uint32_t> shared{0};
    std::uint32_t serial = 0;
    while (serial == 0) {  // 0 means "none yet", also after the count wraps
        serial = shared.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return serial;
}

// --- Construction --------------------------------------------------------------

void Tkeyframe::initialise(TtangentType in, TtangentType out)
{
    updateGlobalTangentTypes(in, out);
    setLocked(false);
    setTangentsLocked(true);
    setWeightsLocked(true);
    setInterpMethod(kInterpSegment);
}

Tkeyframe::Tkeyframe()
{
    initialise(kTangentGlobal, kTangentGlobal);
}

Tkeyframe::Tkeyframe(float seconds, double value, TtangentType in, TtangentType out)
{
    setTime(seconds);
    setValue(value);
    initialise(in, out);
}

Tkeyframe::Tkeyframe(TanimTime time, double value, TtangentType in, TtangentType out)
{
    fFlags.set(kTickTimeBit);
    setTime(time);
    setValue(value);
    initialise(in, out);
}

Tkeyframe::Tkeyframe(TtimeValue const& time, double value, TtangentType in, TtangentType out)
{
    fFlags.setTo(kTickTimeBit, time.isTicks());
    if (time.isTicks()) {
        fTime = time.rawSlot();
    } else {
        setTime(time.floatSeconds());
    }
    setValue(value);
    initialise(in, out);
}

Tkeyframe::Tkeyframe(float seconds, double value, double quatComponent, TtangentType in, TtangentType out)
    : Tkeyframe(seconds, value, in, out)
{
    if (!std::isnan(quatComponent)) {
        fQuatComponent = auxComponent(quatComponent);
    }
}

Tkeyframe::Tkeyframe(TanimTime time, double value, double quatComponent, TtangentType in, TtangentType out)
    : Tkeyframe(time, value, in, out)
{
    if (!std::isnan(quatComponent)) {
        fQuatComponent = auxComponent(quatComponent);
    }
}

Tkeyframe::Tkeyframe(TtimeValue const& time, double value, double quatComponent, TtangentType in, TtangentType out)
    : Tkeyframe(time, value, in, out)
{
    if (!std::isnan(quatComponent)) {
        fQuatComponent = auxComponent(quatComponent);
    }
}

Tkeyframe::Tkeyframe(TtimeValue const& time) : Tkeyframe(time, 0.0, kTangentGlobal, kTangentGlobal)
{
    fQuatComponent = 0.0f;
}

Tkeyframe& Tkeyframe::operator=(Tkeyframe const& other)
{
    if (this == &other) {
        return *this;
    }
    std::uint64_t const ownSlotBits = fFlags.word() & kSlotBitsMask;
    fValue = other.fValue;
    fTime = other.fTime;
    fTanInX = other.fTanInX;
    fTanInY = other.fTanInY;
    fTanInType = other.fTanInType;
    fTanOutX = other.fTanOutX;
    fTanOutY = other.fTanOutY;
    fTanOutType = other.fTanOutType;
    fFlags = other.fFlags;
    fQuatComponent = other.fQuatComponent;
    setEulerSampleCache(nullptr);

    setActive(TbitField32(kPickPartsMask), false);
    setActive(TbitField32(static_cast<std::uint32_t>(ownSlotBits & kPickPartsMask)), true);
    fFlags.setTo(kHiddenBit, (ownSlotBits & (1u << kHiddenBit)) != 0);
    return *this;
}

Tkeyframe::~Tkeyframe()
{
    delete[] fEulerSampleCache;
}

void Tkeyframe::setEulerSampleCache(float* cache)
{
    if (cache != fEulerSampleCache) {
        delete[] fEulerSampleCache;
        fEulerSampleCache = cache;
    }
}

// The same as assigning into a fresh key and clearing the slot bits, done
// member by member: copies are made for every key a curve adds.
Tkeyframe::Tkeyframe(Tkeyframe const& other)
    : fValue(other.fValue), fTime(other.fTime), fTanInX(other.fTanInX), fTanInY(other.fTanInY),
      fTanInType(other.fTanInType), fTanOutX(other.fTanOutX), fTanOutY(other.fTanOutY), fTanOutType(other.fTanOutType),
      fFlags(other.fFlags.word() & ~kSlotBitsMask), fQuatComponent(other.fQuatComponent)
{
}

void* Tkeyframe::operator new(std::size_t bytes)
{
    void* block = nullptr;
    if (!TpureArena::sPurifyInUse && bytes <= kKeyBlockSize) {
        block = keyArena().allocate(bytes, 1);
    }
    if (block == nullptr) {
        block = std::malloc(bytes);
    }
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void Tkeyframe::operator delete(void* block)
{
    // The arena tells its own blocks from system ones, so the bypass switch
    // may change while keys are alive.
    keyArena().deallocate(block);
}

TcompactArena const& Tkeyframe::arena()
{
    return keyArena();
}

// --- Time ----------------------------------------------------------------------

TtimeValue Tkeyframe::timeValue() const
{
    return isTickTime() ? TtimeValue(animTime()) : TtimeValue(floatTime());
}

double Tkeyframe::seconds() const
{
    return isTickTime() ? animTime().seconds() : double(floatTime());
}

bool Tkeyframe::setTime(float seconds)
{
    if (std::isnan(seconds)) {
        return false;
    }
    fTime = std::bit_cast<std::uint32_t>(narrowToFloat(seconds));
    return true;
}

bool Tkeyframe::setTime(TanimTime time)
{
    fTime = std::bit_cast<std::uint32_t>(time.ticks());
    return true;
}

bool Tkeyframe::setTime(TtimeValue const& time)
{
    if (time.isTicks()) {
        fTime = time.rawSlot();
        return true;
    }
    float const seconds = time.floatSeconds();
    if (std::isnan(seconds)) {
        return false;
    }
    fTime = std::bit_cast<std::uint32_t>(clampSnapSeconds(seconds));
    return true;
}

// --- Value ---------------------------------------------------------------------

bool Tkeyframe::setValue(double value)
{
    if (std::isnan(value)) {
        return false;
    }
    fValue = clampSnapValue(value);
    return true;
}

bool Tkeyframe::setTimeAndValue(TtimeValue const& time, double value, double aux)
{
    bool const timeIsNaN = !time.isTicks() && std::isnan(time.seconds());
    if (timeIsNaN || std::isnan(value) || std::isnan(aux)) {
        return false;
    }
    setTime(time);
    setValue(value);
    fQuatComponent = auxComponent(aux);
    return true;
}

// --- Tangents ------------------------------------------------------------------

bool Tkeyframe::setTanIn(float x, float y)
{
    return storeTangent(x, y, fTanInX, fTanInY);
}

bool Tkeyframe::setTanOut(float x, float y)
{
    return storeTangent(x, y, fTanOutX, fTanOutY);
}

bool Tkeyframe::writingFile()
{
    return TglobalTranslatorBase::writingFileCondition();
}

void Tkeyframe::setTanInType(TtangentType type)
{
    if (type == kTangentGlobal) {
        updateGlobalTangentTypes(kTangentGlobal, fTanOutType);
    } else {
        fTanInType = type;
    }
}

void Tkeyframe::setTanOutType(TtangentType type)
{
    if (type == kTangentGlobal) {
        updateGlobalTangentTypes(fTanInType, kTangentGlobal);
    } else {
        fTanOutType = type;
    }
}

void Tkeyframe::exchangeTangentTypes()
{
    std::swap(fTanInType, fTanOutType);
}

void Tkeyframe::reverseTangentVectors()
{
    float const inX = fTanInX;
    float const inY = fTanInY;
    setTanIn(fTanOutX, -fTanOutY);
    setTanOut(inX, -inY);
}

void Tkeyframe::updateGlobalTangentTypes(TtangentType in, TtangentType out)
{
    TtangentType defaultIn = kTangentSpline;
    TtangentType defaultOut = kTangentSpline;
    if (in == kTangentGlobal || out == kTangentGlobal) {
        keyTangentDefaults(defaultIn, defaultOut);  // only when a default is asked for
    }
    fTanInType = in == kTangentGlobal ? defaultIn : in;
    fTanOutType = out == kTangentGlobal ? defaultOut : out;
}

bool Tkeyframe::isTangentTypeLocked(TtangentType type)
{
    return isPluginTangentType(type) && TengineHooks::tangentTypeLocked(type);
}

// --- Flags ---------------------------------------------------------------------

TbitField32 Tkeyframe::activeParts() const
{
    return TbitField32(static_cast<std::uint32_t>(fFlags.word() & kPickPartsMask));
}

void Tkeyframe::setActive(TbitField32 const& parts, bool on)
{
    if (on) {
        TbitField32 const merged = mergePickParts(activeParts(), parts);
        fFlags.clearMask(kPickPartsMask);
        fFlags.setMask(merged.word() & kPickPartsMask);
    } else {
        fFlags.clearMask(parts.word() & kPickPartsMask);
    }
}

void Tkeyframe::setInterpMethod(TspanInterpMethod method)
{
    fFlags.setTo(kForcedInterpBit, method == kInterpLinear);
}

// --- Order ---------------------------------------------------------------------

bool operator==(Tkeyframe const& a, Tkeyframe const& b)
{
    return std::fabs(a.seconds() - b.seconds()) <= kTimeTolerance;
}

bool operator<(Tkeyframe const& a, Tkeyframe const& b)
{
    return a.seconds() < b.seconds() - kTimeTolerance;
}

bool operator<=(Tkeyframe const& a, Tkeyframe const& b)
{
    return a.seconds() <= b.seconds() + kTimeTolerance;
}

bool operator>(Tkeyframe const& a, Tkeyframe const& b)
{
    return a.seconds() > b.seconds() + kTimeTolerance;
}

bool operator>=(Tkeyframe const& a, Tkeyframe const& b)
{
    return a.seconds() >= b.seconds() - kTimeTolerance;
}

// --- TNLEData ------------------------------------------------------------------

TanimTime TNLEData::toZeva(TanimTime const& time) const
{
    std::int32_t const local = clampToInt32(double(time.ticks()) - fSourceStart);
    std::int32_t const scaled = clampToInt32(local / fScale);
    return TanimTime::fromTicks(clampToInt32(double(scaled) + fDestinationStart));
}

TanimTime TNLEData::fromZeva(TanimTime const& time) const
{
    std::int32_t const local = clampToInt32(double(time.ticks()) - fDestinationStart);
    std::int32_t const scaled = clampToInt32(local * fScale);
    return TanimTime::fromTicks(clampToInt32(double(scaled) + fSourceStart));
}
