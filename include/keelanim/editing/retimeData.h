#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/export.h"

#include <memory>

class TkeyframeHandle;
class TparamCurve;

// The two caches of a retime (TparamCurve::retimeRegions): the keys to
// ripple by a time offset, and the interval before every key as it was
// before the retime, so that fixed tangents can follow their interval's
// change of length. Each record owns a handle (not a client) to its key.
// Times are seconds; a tick time is its ticks / 6000.

class KEEL_API TrippleData {
public:
    // A handle to key `index` of `curve`, to move by `offset` seconds.
    TrippleData(TparamCurve const* curve, unsigned index, float offset);
    TrippleData(TrippleData const&) = delete;
    TrippleData& operator=(TrippleData const&) = delete;
    virtual ~TrippleData();

    // The key's time now plus the offset, in the curve's form (the nearest
    // tick on a tick curve); zero without a key.
    TtimeValue getDesiredTime(TparamCurve const* curve) const;
    TkeyframeHandle* handle() const { return fHandle.get(); }
    float offset() const { return fOffset; }

private:
    std::unique_ptr<TkeyframeHandle> fHandle;
    float fOffset;
};

class KEEL_API TretimeDistanceData {
public:
    // A handle to key `index` of `curve` and the time from the key before
    // it (0 for the first key).
    TretimeDistanceData(TparamCurve const* curve, unsigned index, float distance);
    TretimeDistanceData(TretimeDistanceData const&) = delete;
    TretimeDistanceData& operator=(TretimeDistanceData const&) = delete;
    virtual ~TretimeDistanceData();

    TkeyframeHandle* handle() const { return fHandle.get(); }
    float distance() const { return fDistance; }

private:
    std::unique_ptr<TkeyframeHandle> fHandle;
    float fDistance;
};

// The caches own their records: flush them with the curve's flush members.
using TrippleDataPtrArray = TtypedArray<TrippleData*>;
using TretimeDistanceDataPtrArray = TtypedArray<TretimeDistanceData*>;
