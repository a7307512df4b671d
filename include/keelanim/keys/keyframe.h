#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/bitField.h"
#include "keelanim/base/export.h"
#include "keelanim/keys/tangentType.h"

#include <bit>
#include <cstddef>
#include <cstdint>

// Tkeyframe: one key of an animation curve.
//
// A key holds a value, a time, an in- and an out-tangent vector with their
// tangent types, a 64-bit flag word and two fields used by rotation curves.
// The time slot holds either float seconds or TanimTime ticks; flag bit 10
// (kTickTimeBit) says which. Tangent vectors are (x, y) in seconds and value
// units: three times the Bezier handle of the span on that side.
//
// Invariants kept by every setter:
//  - no NaN ever enters a key: a setter given NaN stores nothing and answers
//    false (the key keeps its former content);
//  - times and tangent components are clamped to +-FLT_MAX and values to
//    +-DBL_MAX; components inside the snap tolerances become exactly 0, so a
//    key never holds a denormal-sized residue;
//  - a tangent never points backwards in time (x < 0 becomes 0).
//
// Selection (bits 0 to 2) and the hidden bit (3) belong to the key slot, not
// to the key's content: they never travel with a copy.
//
// Keys are 64 bytes and come from one compact arena shared by all curves
// (unless TpureArena::sPurifyInUse sends them to the system allocator).

// Times closer than this (in seconds) are the same time.
inline constexpr double kTimeTolerance = 1e-5;
// Time and tangent components inside +-kTangentSnap are stored as 0.
inline constexpr double kTangentSnap = 1e-5;
// Values (and the auxiliary component) inside +-kValueSnap are stored as 0.
inline constexpr double kValueSnap = 1e-10;

class TNLEData;
class TcompactArena;

class KEEL_API Tkeyframe {
public:
    // Flag bits of the flag word.
    enum TflagBit : unsigned {
        kActiveBit = 0,  // key part selected
        kInTangentActiveBit = 1,
        kOutTangentActiveBit = 2,
        kHiddenBit = 3,        // skipped by curves that hide such keys
        kForcedInterpBit = 4,  // span interpolation forced to method 1
        kLockedBit = 5,
        kTangentsLockedBit = 6,  // in and out move together
        kWeightsLockedBit = 7,
        kBreakdownBit = 8,
        kTickDrawSpecialBit = 9,
        kTickTimeBit = 10,  // time slot holds ticks; also marks blocking-mode keys
    };

    // How the span that starts at this key is interpolated.
    enum TspanInterpMethod : int {
        kInterpSegment = 0,  // the span's segment object
        kInterpLinear = 1,
        kInterpStep = 2,
        kInterpStepNext = 3,
    };

    // --- Construction ------------------------------------------------------
    // Every constructor resolves global tangent types through
    // updateGlobalTangentTypes and leaves the key unlocked, with tangents and
    // weights locked and interpolation method 0. NaN arguments are refused
    // as by the setters, leaving the defaults in place.
    // The selection and hidden bits: they belong to the key's slot and never
    // travel with a copy.
    static constexpr std::uint64_t kSlotBitsMask = 0xFull;

    Tkeyframe();
    Tkeyframe(float seconds, double value, TtangentType in, TtangentType out);
    Tkeyframe(TanimTime time, double value, TtangentType in, TtangentType out);
    Tkeyframe(TtimeValue const& time, double value, TtangentType in, TtangentType out);
    Tkeyframe(float seconds, double value, double quatComponent, TtangentType in, TtangentType out);
    Tkeyframe(TanimTime time, double value, double quatComponent, TtangentType in, TtangentType out);
    Tkeyframe(TtimeValue const& time, double value, double quatComponent, TtangentType in, TtangentType out);
    // Value 0 and, deliberately, quatComponent 0.
    explicit Tkeyframe(TtimeValue const& time);

    // Copies content (time, value, tangents, types, flags, quatComponent) but
    // keeps this key's own selection and hidden bits; the Euler sample cache
    // is dropped.
    Tkeyframe& operator=(Tkeyframe const& other);
    // A copy starts unselected and visible.
    Tkeyframe(Tkeyframe const& other);
    // Frees the Euler sample cache the key owns.
    ~Tkeyframe();

    static void* operator new(std::size_t bytes);
    static void operator delete(void* block);
    // The arena all keys share, for memory accounting.
    static TcompactArena const& arena();

    // --- Time --------------------------------------------------------------
    bool isTickTime() const { return fFlags.isSet(kTickTimeBit); }
    TtimeValue timeValue() const;
    // The slot read in its own form, converted to seconds.
    double seconds() const;
    // The slot read as float seconds / as ticks, whatever bit 10 says.
    float floatTime() const { return std::bit_cast<float>(fTime); }
    TanimTime animTime() const { return TanimTime::fromTicks(std::bit_cast<std::int32_t>(fTime)); }
    // These store the slot in the given form and leave bit 10 alone.
    // Infinite seconds are clamped to +-FLT_MAX.
    bool setTime(float seconds);
    bool setTime(TanimTime time);
    // Ticks are stored as they stand; seconds are clamped and snapped.
    bool setTime(TtimeValue const& time);

    // --- Value -------------------------------------------------------------
    double value() const { return fValue; }
    bool setValue(double value);
    // Time as setTime(TtimeValue), value as setValue, and the auxiliary
    // component into quatComponent (infinite beyond +-DBL_MAX, 0 when tiny).
    bool setTimeAndValue(TtimeValue const& time, double value, double aux);
    float quatComponent() const { return fQuatComponent; }
    // A number no other key object made by this process has had (until 2^32
    // keys later): it tells a key apart from a later one made at the same
    // address, which is how handles notice that their key was replaced.
    std::uint32_t serial() const
    {
        if (fSerial == 0) {
            fSerial = nextSerial();
        }
        return fSerial;
    }

    // --- Tangents ----------------------------------------------------------
    void getTanIn(float& x, float& y) const
    {
        x = fTanInX;
        y = fTanInY;
    }
    void getTanOut(float& x, float& y) const
    {
        x = fTanOutX;
        y = fTanOutY;
    }
    bool setTanIn(float x, float y);
    bool setTanOut(float x, float y);
    // The types evaluation should use: stepped for tick keys while the
    // blocking-mode override is on and no file is being written.
    TtangentType tanInType() const { return blockingOverrideApplies() ? kTangentStep : fTanInType; }
    TtangentType tanOutType() const { return blockingOverrideApplies() ? kTangentStep : fTanOutType; }
    // The types as stored, never overridden.
    TtangentType storedTanInType() const { return fTanInType; }
    TtangentType storedTanOutType() const { return fTanOutType; }
    // 0 asks for the global default type of that side.
    void setTanInType(TtangentType type);
    void setTanOutType(TtangentType type);
    // Stores both types, replacing a 0 by the key-tangent preference's
    // default for that side (spline when there is no such preference).
    void updateGlobalTangentTypes(TtangentType in, TtangentType out);
    // Time reversed around the key: the stored in and out types change
    // places; the vectors change sides, keeping their length and direction
    // in time and turning their slope around. switchSides does both.
    void exchangeTangentTypes();
    void reverseTangentVectors();
    void switchSides()
    {
        exchangeTangentTypes();
        reverseTangentVectors();
    }
    // True for plug-in tangent types whose registration locks them.
    static bool isTangentTypeLocked(TtangentType type);

    // --- Flags -------------------------------------------------------------
    TbitField64 const& flags() const { return fFlags; }
    void setFlags(TbitField64 const& flags) { fFlags = flags; }
    // The selected parts (bits 0 to 2 as masks 1, 2, 4).
    TbitField32 activeParts() const;
    // With on true, merges `parts` into the selection; with on false, clears
    // the selected parts named in `parts`.
    void setActive(TbitField32 const& parts, bool on);
    bool locked() const { return fFlags.isSet(kLockedBit); }
    void setLocked(bool on) { fFlags.setTo(kLockedBit, on); }
    bool tangentsLocked() const { return fFlags.isSet(kTangentsLockedBit); }
    void setTangentsLocked(bool on) { fFlags.setTo(kTangentsLockedBit, on); }
    bool weightsLocked() const { return fFlags.isSet(kWeightsLockedBit); }
    void setWeightsLocked(bool on) { fFlags.setTo(kWeightsLockedBit, on); }
    bool hidden() const { return fFlags.isSet(kHiddenBit); }
    void setHidden(bool on) { fFlags.setTo(kHiddenBit, on); }
    bool breakdown() const { return fFlags.isSet(kBreakdownBit); }
    void setBreakdown(bool on) { fFlags.setTo(kBreakdownBit, on); }
    bool tickDrawSpecial() const { return fFlags.isSet(kTickDrawSpecialBit); }
    void setTickDrawSpecial(bool on) { fFlags.setTo(kTickDrawSpecialBit, on); }

    // --- Span interpolation ------------------------------------------------
    // 1 when forced linear; else 2 (step) for tick keys under the blocking
    // override, or when the stored out type is step; else 3 when the stored
    // out type is step-next; else 0.
    TspanInterpMethod interpMethod() const
    {
        if (!fFlags.isSet(kForcedInterpBit) && blockingOverrideApplies()) {
            return kInterpStep;
        }
        return storedInterpMethod();
    }
    // The same without the blocking override: what the key's own data asks.
    TspanInterpMethod storedInterpMethod() const
    {
        if (fFlags.isSet(kForcedInterpBit)) {
            return kInterpLinear;
        }
        if (fTanOutType == kTangentStep) {
            return kInterpStep;
        }
        return fTanOutType == kTangentStepNext ? kInterpStepNext : kInterpSegment;
    }
    // Only method 1 is stored (bit 4); any other value clears it.
    void setInterpMethod(TspanInterpMethod method);

    // --- Rotation curves ---------------------------------------------------
    // The Euler samples of the span that starts at this key, kept for the
    // quaternion evaluation of rotation triples (kEulerSamples floats, or
    // null when none are up to date). The key owns them: setting frees the
    // former array, copies and assignment never carry them.
    static constexpr unsigned kEulerSamples = 20;
    float* eulerSampleCache() const { return fEulerSampleCache; }
    void setEulerSampleCache(float* cache);

    // Makes tick keys report stepped tangents (blocking-mode playback).
    static bool fsOverrideTangentsForBlockingMode;

    // --- Order -------------------------------------------------------------
    // Keys compare by time in seconds with kTimeTolerance; nothing else.
    friend KEEL_API bool operator==(Tkeyframe const& a, Tkeyframe const& b);
    friend KEEL_API bool operator<(Tkeyframe const& a, Tkeyframe const& b);
    friend KEEL_API bool operator<=(Tkeyframe const& a, Tkeyframe const& b);
    friend KEEL_API bool operator>(Tkeyframe const& a, Tkeyframe const& b);
    friend KEEL_API bool operator>=(Tkeyframe const& a, Tkeyframe const& b);
    friend bool operator!=(Tkeyframe const& a, Tkeyframe const& b) { return !(a == b); }

private:
    static std::uint32_t nextSerial();
    void initialise(TtangentType in, TtangentType out);
    // Tick keys read as stepped while the blocking override is on, unless a
    // file is being written; the cheap tests come first.
    bool blockingOverrideApplies() const { return isTickTime() && fsOverrideTangentsForBlockingMode && !writingFile(); }
    static bool writingFile();

    double fValue = 0.0;
    std::uint32_t fTime = 0;
    float fTanInX = 0.0f;
    float fTanInY = 0.0f;
    TtangentType fTanInType = kTangentGlobal;
    float fTanOutX = 0.0f;
    float fTanOutY = 0.0f;
    TtangentType fTanOutType = kTangentGlobal;
    TbitField64 fFlags;
    float* fEulerSampleCache = nullptr;
    float fQuatComponent = 1.0f;
    // Given on first request (0 until then), so that keys no handle asks
    // about cost nothing; copies start without one, assignment keeps it.
    mutable std::uint32_t fSerial = 0;
};

// TNLEData: maps key tick times through a non-linear-editing clip to host
// time and back. Each step clamps to the 32-bit tick range and rounds to the
// nearest tick (ties to even).
class KEEL_API TNLEData {
public:
    TNLEData() = default;
    TNLEData(std::int32_t sourceStart, std::int32_t destinationStart, double scale)
        : fSourceStart(sourceStart), fDestinationStart(destinationStart), fScale(scale)
    {
    }

    // Clip time to host time: (t - source start) / scale + destination start.
    TanimTime toZeva(TanimTime const& time) const;
    // Host time to clip time: (t - destination start) * scale + source start.
    TanimTime fromZeva(TanimTime const& time) const;

    std::int32_t sourceStart() const { return fSourceStart; }
    std::int32_t destinationStart() const { return fDestinationStart; }
    double scale() const { return fScale; }

private:
    std::int32_t fSourceStart = 0;
    std::int32_t fDestinationStart = 0;
    double fScale = 1.0;
};
