#include "keelanim/editing/keyframeHandle.h"

#include "keelanim/curve/curveMessages.h"
#include "keelanim/curve/paramCurve.h"

namespace {
thread_local TtimeValue sHandleTime;
}  // namespace

// --- ThandleData -------------------------------------------------------------------

TkeyframeHandle::ThandleData::ThandleData(TparamCurve* curve, Tkeyframe* key)
    : fCurve(curve), fKey(key), fSilentDrops(curve != nullptr ? curve->silentKeyDrops() : 0),
      fUnrecordedSeen(curve != nullptr ? curve->unrecordedDeletions() : 0), fSerial(key != nullptr ? key->serial() : 0)
{
    if (fCurve != nullptr && fKey != nullptr) {
        fFlags |= kPresentMask;
    }
}

TkeyframeHandle::ThandleData::~ThandleData()
{
    if ((fFlags & kRegisteredMask) != 0 && fCurve != nullptr) {
        server()->removeClient(this);
    }
}

TclientServer* TkeyframeHandle::ThandleData::server() const
{
    return fCurve;
}

void TkeyframeHandle::ThandleData::makeClient()
{
    if ((fFlags & kRegisteredMask) != 0 || fCurve == nullptr) {
        return;
    }
    if (fRefCount > 1 && server()->hasClient(this)) {
        return;
    }
    server()->addClient(this, TkeyframeAddDeleteMsgTmeta, &keyframeAddDeleteCB, TserverDeletedMsgTmeta,
                        &serverDeletedCB);
    fFlags |= kRegisteredMask;
}

void TkeyframeHandle::ThandleData::keyframeAddDelete(TclientServer*, TserverMsg const& msg)
{
    auto const* change = keelCast<TkeyframeAddDeleteMsg>(&msg);
    // The message's key is alive while it is announced: its serial tells the
    // handle's own key from a later one made at the same address.
    if (change == nullptr || change->key() != fKey || fKey == nullptr || fKey->serial() != fSerial) {
        return;
    }
    if (change->added()) {
        fFlags |= kPresentMask;
        return;
    }
    // The key is still alive while its removal is announced: keep what a
    // handle reads of it, since the key object may not outlive the removal.
    fDeletedTime = fKey->timeValue();
    fDeletedValue = fKey->value();
    fUnrecordedSeen = fCurve != nullptr ? fCurve->unrecordedDeletions() : 0;
    fFlags &= ~kPresentMask;
}

// removeAllKeys and assignment delete keys without a message: the curve's
// count of such drops tells the handle that its key went with them.
bool TkeyframeHandle::ThandleData::droppedSilently() const
{
    return fCurve != nullptr && fCurve->silentKeyDrops() != fSilentDrops;
}

// A client hears every removal; any other handle trusts its flag only while
// the curve has deleted no key without a record since the handle was made,
// and otherwise looks for its key's address among the curve's keys, so that
// it never reads a key that may be gone.
bool TkeyframeHandle::ThandleData::keyOnCurve() const
{
    if ((fFlags & kPresentMask) == 0 || fKey == nullptr || fCurve == nullptr || droppedSilently()) {
        return false;
    }
    bool const alive =
        (fFlags & kRegisteredMask) != 0 || fCurve->unrecordedDeletions() == fUnrecordedSeen || fCurve->holdsKey(fKey);
    return alive && fKey->serial() == fSerial;  // not a later key at the same address
}

// A key that left the curve lives on while an undo record holds it: the
// curve has deleted no key without a record since the key left.
bool TkeyframeHandle::ThandleData::keyObjectLives() const
{
    if (keyOnCurve()) {
        return true;
    }
    return (fFlags & (kPresentMask | kRegisteredMask)) == kRegisteredMask && fKey != nullptr && fCurve != nullptr &&
           !droppedSilently() && fCurve->unrecordedDeletions() == fUnrecordedSeen && fKey->serial() == fSerial;
}

void TkeyframeHandle::ThandleData::serverDeleted(TclientServer* from, TserverMsg const&)
{
    if (fCurve == nullptr || from != server()) {
        return;
    }
    fCurve = nullptr;
    fFlags &= ~(kPresentMask | kRegisteredMask);
}

void TkeyframeHandle::ThandleData::keyframeAddDeleteCB(Tclient* client, TclientServer* server, TserverMsg const& msg)
{
    static_cast<ThandleData*>(client)->keyframeAddDelete(server, msg);
}

void TkeyframeHandle::ThandleData::serverDeletedCB(Tclient* client, TclientServer* server, TserverMsg const& msg)
{
    static_cast<ThandleData*>(client)->serverDeleted(server, msg);
}

// --- TkeyframeHandle: construction ---------------------------------------------------

void TkeyframeHandle::adopt(TparamCurve* curve, Tkeyframe* key, bool makeClient)
{
    fData = new ThandleData(curve, curve != nullptr ? key : nullptr);
    if (makeClient && fData->fKey != nullptr) {
        fData->makeClient();
    }
}

TkeyframeHandle::TkeyframeHandle(TkeyframeHandle const& other, bool makeClient) : fData(other.fData)
{
    if (fData != nullptr) {
        ++fData->fRefCount;
        if (makeClient) {
            fData->makeClient();
        }
    }
}

TkeyframeHandle::TkeyframeHandle(TparamCurve* curve, unsigned index, bool makeClient)
{
    adopt(curve, curve != nullptr ? curve->keyframe(index) : nullptr, makeClient);
}

TkeyframeHandle::TkeyframeHandle(TparamCurve* curve, Tkeyframe* key, bool makeClient)
{
    adopt(curve, key, makeClient);
}

TkeyframeHandle::TkeyframeHandle(TparamCurve* curve, float time, bool makeClient)
{
    unsigned index = 0;
    bool const found = curve != nullptr && curve->find(TtimeValue(time), index);
    adopt(curve, found ? curve->keyframe(index) : nullptr, makeClient);
}

TkeyframeHandle::TkeyframeHandle(TparamCurve* curve, TanimTime time, bool makeClient)
{
    unsigned index = 0;
    bool const found = curve != nullptr && curve->find(TtimeValue(time), index);
    adopt(curve, found ? curve->keyframe(index) : nullptr, makeClient);
}

TkeyframeHandle& TkeyframeHandle::operator=(TkeyframeHandle const& other)
{
    if (this != &other && fData != other.fData) {
        removeData();
        fData = other.fData;
        if (fData != nullptr) {
            ++fData->fRefCount;
        }
    }
    return *this;
}

TkeyframeHandle::~TkeyframeHandle()
{
    removeData();
}

void TkeyframeHandle::removeData()
{
    if (fData != nullptr && --fData->fRefCount == 0) {
        delete fData;
    }
    fData = nullptr;
}

void TkeyframeHandle::ensureUniqueData()
{
    if (fData == nullptr) {
        fData = new ThandleData(nullptr, nullptr);
        return;
    }
    if (fData->fRefCount < 2) {
        return;
    }
    ThandleData const* shared = fData;
    --fData->fRefCount;
    fData = new ThandleData(shared->fCurve, shared->fKey);
    fData->fFlags = shared->fFlags & ThandleData::kPresentMask;
    fData->fDeletedTime = shared->fDeletedTime;
    fData->fDeletedValue = shared->fDeletedValue;
    fData->fSilentDrops = shared->fSilentDrops;
    fData->fUnrecordedSeen = shared->fUnrecordedSeen;
    fData->fSerial = shared->fSerial;
}

void TkeyframeHandle::makeClient()
{
    if (fData != nullptr) {
        fData->makeClient();
    }
}

// --- TkeyframeHandle: the key ---------------------------------------------------------

Tkeyframe* TkeyframeHandle::keyframe() const
{
    return fData != nullptr && fData->keyObjectLives() ? fData->fKey : nullptr;
}

TparamCurve* TkeyframeHandle::paramCurve() const
{
    return fData != nullptr ? fData->fCurve : nullptr;
}

bool TkeyframeHandle::present() const
{
    return fData != nullptr && fData->keyOnCurve();
}

Tkeyframe const* TkeyframeHandle::liveKey() const
{
    return present() && fData->fCurve != nullptr ? fData->fKey : nullptr;
}

TtimeValue TkeyframeHandle::timeValue() const
{
    if (fData == nullptr || fData->fKey == nullptr || fData->fCurve == nullptr) {
        return TtimeValue();
    }
    if (!present()) {
        return fData->fDeletedTime;
    }
    Tkeyframe const* key = fData->fKey;
    return fData->fCurve->isAnimTimeCurve() ? TtimeValue(key->animTime()) : TtimeValue(key->floatTime());
}

TtimeValue const& TkeyframeHandle::timeValueRef() const
{
    sHandleTime = timeValue();
    return sHandleTime;
}

double TkeyframeHandle::seconds() const
{
    if (fData == nullptr || fData->fKey == nullptr || fData->fCurve == nullptr) {
        return 0.0;
    }
    TtimeValue const time = timeValue();
    TNLEData const* clip = fData->fCurve->nleData();
    if (time.isTicks() && clip != nullptr) {
        return clip->toZeva(time.animTime()).seconds();
    }
    return time.seconds();
}

int TkeyframeHandle::index() const
{
    if (fData == nullptr || fData->fKey == nullptr || fData->fCurve == nullptr || fData->droppedSilently()) {
        return -1;
    }
    if (!present() && (fData->fFlags & ThandleData::kPresentMask) != 0) {
        return -1;  // gone without the handle hearing: the time it went at is unknown
    }
    unsigned found = 0;
    return fData->fCurve->findStoredTime(timeValueRef(), found) ? static_cast<int>(found) : -1;
}

double TkeyframeHandle::value() const
{
    if (Tkeyframe const* key = liveKey()) {
        return key->value();
    }
    return fData != nullptr && fData->fKey != nullptr ? fData->fDeletedValue : 0.0;
}

bool TkeyframeHandle::getTanIn(float& x, float& y) const
{
    Tkeyframe const* key = keyframe();
    if (key != nullptr) {
        key->getTanIn(x, y);
    }
    return key != nullptr;
}

bool TkeyframeHandle::getTanOut(float& x, float& y) const
{
    Tkeyframe const* key = keyframe();
    if (key != nullptr) {
        key->getTanOut(x, y);
    }
    return key != nullptr;
}

bool TkeyframeHandle::operator==(TkeyframeHandle const& other) const
{
    if (fData == other.fData) {
        return true;
    }
    if (fData == nullptr || other.fData == nullptr) {
        return false;
    }
    return fData->fKey == other.fData->fKey && fData->fCurve == other.fData->fCurve &&
           (fData->fFlags & ThandleData::kPresentMask) == (other.fData->fFlags & ThandleData::kPresentMask);
}
