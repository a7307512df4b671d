// The bookkeeping of key moves: move records, their order, breakdown
// proportions, and the session that holds them on a curve.

#include "keelanim/editing/moveKeyData.h"

#include "curve/detail/editKit.h"
#include "editing/keyMoveSession.h"
#include "keelanim/curve/paramCurve.h"
#include "keelanim/keys/keyframe.h"

#include <algorithm>
#include <vector>

namespace {

std::unique_ptr<TkeyframeHandle> neighbourHandle(TparamCurve const* curve, unsigned index)
{
    if (index == TbreakdownData::kNoNeighbour || curve->keyframe(index) == nullptr) {
        return nullptr;
    }
    return std::make_unique<TkeyframeHandle>(const_cast<TparamCurve*>(curve), index, true);
}

// A time in seconds as the curve keeps times: real seconds on a float curve,
// ticks on an animTime curve.
TtimeValue timeInCurveForm(TparamCurve const* curve, double seconds)
{
    if (curve->isAnimTimeCurve()) {
        return TtimeValue(TanimTime(seconds, kSeconds));
    }
    return TtimeValue(static_cast<float>(seconds));
}

}  // namespace

// --- TbreakdownData ----------------------------------------------------------------

TbreakdownData::TbreakdownData(TparamCurve const* curve, unsigned previous, unsigned key, unsigned next)
{
    if (curve == nullptr || curve->keyframe(key) == nullptr) {
        return;
    }
    fKey = std::make_unique<TkeyframeHandle>(const_cast<TparamCurve*>(curve), key, true);
    fPrevious = neighbourHandle(curve, previous);
    fNext = neighbourHandle(curve, next);
    fSavedKey = std::make_unique<Tkeyframe>(*curve->keyframe(key));
    double const t = fKey->seconds();
    if (fPrevious != nullptr && fNext != nullptr) {
        double const span = fNext->seconds() - fPrevious->seconds();
        fRatio = span != 0.0 ? static_cast<float>((t - fPrevious->seconds()) / span) : 0.0f;
    } else if (fPrevious != nullptr) {
        fRatio = static_cast<float>(t - fPrevious->seconds());
    } else if (fNext != nullptr) {
        fRatio = static_cast<float>(t - fNext->seconds());
    }
}

TbreakdownData::~TbreakdownData() = default;

TtimeValue TbreakdownData::getDesiredTime(TparamCurve const* curve) const
{
    return desiredTimeBetween(curve, fPrevious != nullptr ? fPrevious->seconds() : 0.0,
                              fNext != nullptr ? fNext->seconds() : 0.0);
}

TtimeValue TbreakdownData::desiredTimeBetween(TparamCurve const* curve, double previousSeconds,
                                              double nextSeconds) const
{
    if (curve == nullptr || fKey == nullptr || fKey->keyframe() == nullptr) {
        return TtimeValue(0.0f);
    }
    // Single precision, as the proportion itself is kept.
    auto seconds = static_cast<float>(fKey->seconds());
    auto const previous = static_cast<float>(previousSeconds);
    auto const next = static_cast<float>(nextSeconds);
    if (fPrevious != nullptr && fNext != nullptr) {
        seconds = previous + fRatio * (next - previous);
    } else if (fPrevious != nullptr) {
        seconds = previous + fRatio;
    } else if (fNext != nullptr) {
        seconds = next + fRatio;
    }
    return timeInCurveForm(curve, seconds);
}

// --- Move records -------------------------------------------------------------------

TmoveKeyData::TmoveKeyData(TkeyframeHandle const& handle, bool moved, std::uint32_t slot, TbreakdownData* breakdown)
    : fHandle(new TkeyframeHandle(handle, true)), fBreakdown(breakdown), fMoved(moved), fSlot(slot)
{
}

TmoveKeyData::~TmoveKeyData()
{
    delete fHandle;
}

int moveKeyDataCompare(TmoveKeyData const* a, TmoveKeyData const* b)
{
    if (a == b) {
        return 0;
    }
    double const ca = a->fHandle->seconds();
    double const cb = b->fHandle->seconds();
    if (ca != cb) {
        return ca < cb ? -1 : 1;
    }
    if (a->fSlot != b->fSlot) {
        return a->fSlot < b->fSlot ? -1 : 1;
    }
    return 0;
}

TmoveKeyDataPtrArray::~TmoveKeyDataPtrArray()
{
    for (TmoveKeyData* record : *this) {
        delete record;
    }
}

void TmoveKeyDataPtrArray::sort()
{
    std::vector<TmoveKeyData*> records(begin(), end());
    std::stable_sort(records.begin(), records.end(),
                     [](TmoveKeyData const* a, TmoveKeyData const* b) { return moveKeyDataCompare(a, b) < 0; });
    std::copy(records.begin(), records.end(), begin());
}

TmoveKeyData* TmoveKeyDataPtrList::findHandle(TkeyframeHandle const* handle) const
{
    if (handle == nullptr) {
        return nullptr;
    }
    for (TmoveKeyData* record : *this) {
        if (*record->fHandle == *handle) {
            return record;
        }
    }
    return nullptr;
}

TmoveKeyData* TmoveKeyDataPtrList::findKey(Tkeyframe const* key) const
{
    for (TmoveKeyData* record : *this) {
        if (record->fHandle->keyframe() == key) {
            return record;
        }
    }
    return nullptr;
}

// --- The session ----------------------------------------------------------------------

TkeyMoveSession* TkeyMoveSession::of(TparamCurve& curve, bool make)
{
    TcurveEditSession*& slot = TcurveEditKit::session(curve);
    if (slot == nullptr && make) {
        slot = new TkeyMoveSession();
    }
    return dynamic_cast<TkeyMoveSession*>(slot);
}

TkeyMoveSession const* TkeyMoveSession::of(TparamCurve const& curve)
{
    return dynamic_cast<TkeyMoveSession const*>(TcurveEditKit::session(curve));
}

void TkeyMoveSession::flushBreakdowns()
{
    for (TbreakdownData* record : fBreakdowns) {
        delete record;
    }
    fBreakdowns.changeLogicalSizeTo(0);
}

unsigned indexOfHandle(TparamCurve const& curve, TkeyframeHandle const* handle)
{
    if (handle == nullptr || handle->paramCurve() != &curve || handle->keyframe() == nullptr) {
        return kArrayFailure;
    }
    int const index = handle->index();
    if (index < 0 || curve.keyframe(static_cast<unsigned>(index)) != handle->keyframe()) {
        return kArrayFailure;
    }
    return static_cast<unsigned>(index);
}

// --- Rewrites --------------------------------------------------------------------------

namespace {

// Everything of a key that undo puts back; selection belongs to the slot.
bool sameContent(Tkeyframe const& a, Tkeyframe const& b)
{
    float ax[4];
    float bx[4];
    a.getTanIn(ax[0], ax[1]);
    a.getTanOut(ax[2], ax[3]);
    b.getTanIn(bx[0], bx[1]);
    b.getTanOut(bx[2], bx[3]);
    return a.timeValue().rawSlot() == b.timeValue().rawSlot() && a.value() == b.value() && std::equal(ax, ax + 4, bx) &&
           a.storedTanInType() == b.storedTanInType() && a.storedTanOutType() == b.storedTanOutType() &&
           (a.flags().word() & ~Tkeyframe::kSlotBitsMask) == (b.flags().word() & ~Tkeyframe::kSlotBitsMask) &&
           a.quatComponent() == b.quatComponent();
}

}  // namespace

TrewriteSnapshot::TrewriteSnapshot(TparamCurve const& curve, unsigned first, unsigned last)
{
    for (unsigned i = first; i <= last && i < curve.keyframeCountAll(); ++i) {
        Tkeyframe* key = curve.keyframe(i);
        fKeys.push_back({key, TcurveEditKit::keyAsTheChangeFoundIt(curve, *key), Tkeyframe()});
    }
}

std::vector<TkeyRewrite> TrewriteSnapshot::changes() const
{
    std::vector<TkeyRewrite> changed;
    for (TkeyRewrite const& entry : fKeys) {
        if (!sameContent(entry.fBefore, *entry.fKey)) {
            changed.push_back({entry.fKey, entry.fBefore, *entry.fKey});
        }
    }
    return changed;
}
