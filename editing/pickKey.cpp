#include "keelanim/editing/pickKey.h"

#include "keelanim/curve/paramCurve.h"
#include "keelanim/editing/keyframeHandle.h"

namespace {
constexpr std::uint32_t kTangentMasks = kPickInTangentMask | kPickOutTangentMask;
}  // namespace

// --- TparamCurve: key selection -------------------------------------------------------

// A curve from a referenced file that may not be edited offers nothing to
// edit, so its keys are not picked either.
bool TparamCurve::canSelect() const
{
    return !fCurveFlags.isSet(kReferencedBit) || refAnimCurvesEditable();
}

// --- Construction ---------------------------------------------------------------------

TpickKey::TpickKey(TpickKey const& other, bool makeClient)
{
    if (other.isLive()) {
        create(*other.fHandle, other.fFlags, makeClient, true);
    }
}

TpickKey& TpickKey::operator=(TpickKey const& other)
{
    if (this == &other) {
        return *this;
    }
    if (isLive()) {
        deleteHandle();
    }
    if (other.isLive()) {
        create(*other.fHandle, other.fFlags, false, false);
    }
    return *this;
}

TpickKey::~TpickKey()
{
    deleteHandle();
}

void TpickKey::deleteHandle()
{
    delete fHandle;
    fHandle = nullptr;
}

bool TpickKey::mayCreateOn(TparamCurve const* curve, bool force) const
{
    return fHandle == nullptr && curve != nullptr && (force || curve->canSelect());
}

int TpickKey::adopt(TkeyframeHandle* handle, TbitField32 const& flags)
{
    fHandle = handle;
    setFlags(flags);
    fFlags.clear(kPickInactive);
    return 0;
}

int TpickKey::create(TparamCurve* curve, float time, TbitField32 const& flags, bool makeClient, bool force)
{
    if (!mayCreateOn(curve, force)) {
        return -1;
    }
    return adopt(new TkeyframeHandle(curve, time, makeClient), flags);
}

int TpickKey::create(TparamCurve* curve, unsigned index, TbitField32 const& flags, bool makeClient, bool force)
{
    if (!mayCreateOn(curve, force)) {
        return -1;
    }
    return adopt(new TkeyframeHandle(curve, index, makeClient), flags);
}

int TpickKey::create(TkeyframeHandle const& handle, TbitField32 const& flags, bool makeClient, bool force)
{
    if (!mayCreateOn(handle.paramCurve(), force)) {
        return -1;
    }
    return adopt(new TkeyframeHandle(handle, makeClient), flags);
}

// --- State ----------------------------------------------------------------------------

void TpickKey::setFlags(TbitField32 const& flags)
{
    fFlags = flags;
    ensureFlagIntegrity();
}

TtimeValue TpickKey::timeValue() const
{
    return isLive() ? fHandle->timeValue() : TtimeValue();
}

void TpickKey::ensureFlagIntegrity()
{
    if (fFlags.isSet(kPickKey)) {
        fFlags.clearMask(kTangentMasks);
    }
}

// --- Comparison -----------------------------------------------------------------------

bool TpickKey::operator==(TpickKey const& other) const
{
    return isLive() && other.fHandle != nullptr && fFlags == other.fFlags && *fHandle == *other.fHandle;
}

bool TpickKey::operator<(TpickKey const& other) const
{
    return fHandle != nullptr && timeValue() < other.timeValue();
}

bool TpickKey::operator>(TpickKey const& other) const
{
    return fHandle != nullptr && timeValue() > other.timeValue();
}

bool TpickKey::operator<=(TpickKey const& other) const
{
    return fHandle != nullptr && timeValue() <= other.timeValue();
}

bool TpickKey::operator>=(TpickKey const& other) const
{
    return fHandle != nullptr && timeValue() >= other.timeValue();
}

int TpickKey::conflictsInTimeWith(TpickKey const& other) const
{
    if (fHandle == nullptr || other.fHandle == nullptr) {
        return 0;
    }
    return fHandle->timeValue() == other.fHandle->timeValue() ? kConflictInTime : 0;
}

// --- Set operations on the parts ------------------------------------------------------

TbitField32 TpickKey::merge(TbitField32 const& a, TbitField32 const& b)
{
    return mergePickParts(a, b);
}

void TpickKey::setFlagsMerge(TpickKey const& other)
{
    if (fHandle != nullptr) {
        fFlags = merge(fFlags, other.fFlags);
    }
}

void TpickKey::setFlagsDifference(TpickKey const& other)
{
    if (fHandle != nullptr) {
        fFlags.clearMask(other.fFlags.word() & kPickPartsMask);
    }
}

void TpickKey::setFlagsIntersection(TpickKey const& other)
{
    if (fHandle != nullptr) {
        fFlags.clearMask(kPickPartsMask & ~other.fFlags.word());
    }
}
