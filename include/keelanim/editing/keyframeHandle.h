#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/clientServer.h"
#include "keelanim/base/export.h"

#include <cstdint>

class TparamCurve;
class Tkeyframe;

// TkeyframeHandle: a reference to a key that survives re-indexing.
//
// A handle names a key object of a curve, not an index: it answers the key's
// current index, time, value and tangents however keys are added, removed or
// moved around it. Copies share one reference-counted ThandleData.
//
// A handle whose data is a client of the curve (makeClient) also learns when
// its key is deleted (present() turns false, and the key's time and value as
// they were stay readable) and when the key is added back by an undo; and
// when the curve itself is deleted (the handle then reads as empty). A handle
// that is not a client must not outlive its key.
class KEEL_API TkeyframeHandle {
public:
    class KEEL_API ThandleData : public Tclient {
    public:
        static constexpr std::uint32_t kPresentMask = 1;     // the key is on the curve
        static constexpr std::uint32_t kRegisteredMask = 2;  // a client of the curve

        ThandleData(TparamCurve* curve, Tkeyframe* key);
        ~ThandleData() override;

        void makeClient();
        void keyframeAddDelete(TclientServer* server, TserverMsg const& msg);
        void serverDeleted(TclientServer* server, TserverMsg const& msg);

        std::uint32_t flags() const { return fFlags; }
        TparamCurve* curve() const { return fCurve; }
        Tkeyframe* key() const { return fKey; }
        unsigned refCount() const { return fRefCount; }
        // Whether the key is on the curve; whether the key object still
        // exists (on the curve, or held by an undo record since it left).
        bool keyOnCurve() const;
        bool keyObjectLives() const;

    private:
        friend class TkeyframeHandle;
        static void keyframeAddDeleteCB(Tclient* client, TclientServer* server, TserverMsg const& msg);
        static void serverDeletedCB(Tclient* client, TclientServer* server, TserverMsg const& msg);
        TclientServer* server() const;
        bool droppedSilently() const;

        std::uint32_t fFlags = 0;
        TparamCurve* fCurve;
        Tkeyframe* fKey;
        unsigned fRefCount = 1;
        // The key's time and value when it left the curve, read while absent.
        TtimeValue fDeletedTime;
        double fDeletedValue = 0.0;
        // The curve's count of silent key drops when the data was made, and
        // of unrecorded deletions when the data last knew where its key was.
        unsigned fSilentDrops = 0;
        unsigned fUnrecordedSeen = 0;
        std::uint32_t fSerial = 0;  // of the key, telling it from a later one
    };

    // --- Construction ------------------------------------------------------
    TkeyframeHandle() = default;
    // Shares other's data; registers it as a client when asked.
    TkeyframeHandle(TkeyframeHandle const& other, bool makeClient);
    TkeyframeHandle(TparamCurve* curve, unsigned index, bool makeClient);
    TkeyframeHandle(TparamCurve* curve, Tkeyframe* key, bool makeClient);
    // The key found exactly at that time, as a real time / as a tick time.
    TkeyframeHandle(TparamCurve* curve, float time, bool makeClient);
    TkeyframeHandle(TparamCurve* curve, TanimTime time, bool makeClient);
    TkeyframeHandle(TkeyframeHandle const& other) : TkeyframeHandle(other, false) {}
    TkeyframeHandle& operator=(TkeyframeHandle const& other);
    virtual ~TkeyframeHandle();

    // Drops this handle's share of the data.
    void removeData();
    // Gives this handle data of its own (not registered) when it shares.
    void ensureUniqueData();
    void makeClient();

    // --- The key -----------------------------------------------------------
    // The key object, or null once it no longer exists (deleted without an
    // undo record taking it, or dropped with all the curve's keys).
    Tkeyframe* keyframe() const;
    TparamCurve* paramCurve() const;
    bool present() const;
    // The key's stored time, as a real or a tick time by the curve's form;
    // zero without data, key or curve.
    TtimeValue timeValue() const;
    // The same in one scratch value per thread, valid until the next call.
    TtimeValue const& timeValueRef() const;
    // Seconds, through the curve's non-linear-editing clip for tick curves.
    double seconds() const;
    // The key's index on its curve, or -1 when no key lies at its time.
    int index() const;
    double value() const;
    // The key's tangents, also after it left the curve while its key object
    // lives (an undo record holds it); false when it does not.
    bool getTanIn(float& x, float& y) const;
    bool getTanOut(float& x, float& y) const;

    ThandleData const* data() const { return fData; }
    bool operator==(TkeyframeHandle const& other) const;
    bool operator!=(TkeyframeHandle const& other) const { return !(*this == other); }

private:
    void adopt(TparamCurve* curve, Tkeyframe* key, bool makeClient);
    Tkeyframe const* liveKey() const;

    ThandleData* fData = nullptr;
};

using TkeyframeHandlePtrArray = TtypedArray<TkeyframeHandle*>;
using TkeyframeHandlePtrArrayPtrList = TtypedArray<TkeyframeHandlePtrArray*>;
