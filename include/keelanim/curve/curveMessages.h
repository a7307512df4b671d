#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/bitField.h"
#include "keelanim/base/clientServer.h"
#include "keelanim/base/export.h"
#include "keelanim/curve/paramCurveEnums.h"

#include <functional>
#include <set>

// Messages about curves.
//
// A curve sends its own clients TparamCurveModifiedMsg for each key change,
// TkeyframeAddDeleteMsg when a key leaves or comes back, and TkeyframeMovedMsg
// when keys move. The library-wide depot sends global clients
// TparamCurveChangedMsg (which curves changed) and asks global helpers through
// TparamCurveHelperMsg whether changes may go ahead.

class TparamCurve;
class TkeyframeHandle;
class Tkeyframe;

KEEL_DECLARE_METACLASS(TparamCurveModifiedMsg);
KEEL_DECLARE_METACLASS(TkeyframeAddDeleteMsg);
KEEL_DECLARE_METACLASS(TkeyframeMovedMsg);
KEEL_DECLARE_METACLASS(TparamCurveChangedMsg);
KEEL_DECLARE_METACLASS(TparamCurveHelperMsg);

// The curves that changed since the depot last reported, ordered by address
// (the order carries no meaning).
using TparamCurveSet = std::set<TparamCurve*, std::less<>>;

// "This key of the sending curve changed in this way."
class KEEL_API TparamCurveModifiedMsg : public TserverMsg {
    KEEL_TYPED(TparamCurveModifiedMsg)

public:
    enum TmessageType : std::int32_t {
        kKeyInserted = 0,
        kKeyRemoved = 1,
        kKeyChanged = 2,  // time or value, or the curve must be redrawn
        kTangentChanged = 3,
        kColorChanged = 4,
        kWeightingChanged = 5,
        kLockChanged = 6,
        kBreakdownChanged = 7,
    };

    TparamCurveModifiedMsg() = default;
    // The handle is the sender's; it lives as long as the delivery.
    TparamCurveModifiedMsg(TkeyframeHandle* handle, TmessageType type) : fHandle(handle), fType(type) {}

    TkeyframeHandle* handle() const { return fHandle; }
    TmessageType type() const { return fType; }
    bool copy(TserverMsg const& other) override;

private:
    TkeyframeHandle* fHandle = nullptr;
    TmessageType fType = kKeyChanged;
};

// "This key was added to (added true) or is about to leave (false) the
// sending curve." A removal is announced while the key is still in the array.
class KEEL_API TkeyframeAddDeleteMsg : public TserverMsg {
    KEEL_TYPED(TkeyframeAddDeleteMsg)

public:
    TkeyframeAddDeleteMsg() = default;
    TkeyframeAddDeleteMsg(Tkeyframe const* key, bool added) : fKey(key), fAdded(added) {}

    Tkeyframe const* key() const { return fKey; }
    bool added() const { return fAdded; }
    bool copy(TserverMsg const& other) override;

private:
    Tkeyframe const* fKey = nullptr;
    bool fAdded = false;
};

// "Keys moved from one time to another under a move option."
class KEEL_API TkeyframeMovedMsg : public TserverMsg {
    KEEL_TYPED(TkeyframeMovedMsg)

public:
    TkeyframeMovedMsg() = default;
    TkeyframeMovedMsg(TtimeValue const& from, TtimeValue const& to, TparamCurveEnums::TmoveOption option)
        : fFrom(from), fTo(to), fOption(option)
    {
    }

    TtimeValue const& from() const { return fFrom; }
    TtimeValue const& to() const { return fTo; }
    TparamCurveEnums::TmoveOption option() const { return fOption; }
    bool copy(TserverMsg const& other) override;

private:
    TtimeValue fFrom;
    TtimeValue fTo;
    TparamCurveEnums::TmoveOption fOption = TparamCurveEnums::kMoveBetweenNeighbours;
};

// "These curves changed." Sent by the depot to its global clients; the set is
// the depot's and is valid during the delivery only.
class KEEL_API TparamCurveChangedMsg : public TserverModifiedMsg {
    KEEL_TYPED(TparamCurveChangedMsg)

public:
    TparamCurveChangedMsg() = default;
    explicit TparamCurveChangedMsg(TparamCurveSet const* curves) : fCurves(curves) {}

    TparamCurveSet const* curves() const { return fCurves; }
    bool contains(TparamCurve const* curve) const;
    // Copies the pointer to the set.
    bool copy(TserverMsg const& other) override;

private:
    TparamCurveSet const* fCurves = nullptr;
};

// A question to the global helpers during a change bracket. Helpers answer
// by setting or clearing bits of answer() through setAnswer(); the answer
// starts at 1.
class KEEL_API TparamCurveHelperMsg : public TserverMsg {
    KEEL_TYPED(TparamCurveHelperMsg)

public:
    enum Tkind : std::int32_t {
        kEndChange = 0,        // carries 1 when the begin answer kept bit 1
        kBeginChange = 1,      // bit 1 is kept as the begin answer
        kAskBeforeChange = 2,  // the change proceeds only with bit 2 set
        kAskReferenced = 3,    // a referenced curve changes only with bit 4 set
    };
    static constexpr std::uint32_t kBeginAnswerBit = 1;
    static constexpr std::uint32_t kAllowChangeBit = 2;
    static constexpr std::uint32_t kAllowReferencedBit = 4;

    TparamCurveHelperMsg() = default;
    TparamCurveHelperMsg(std::int32_t kind, TparamCurve* curve, std::uint32_t answer = 1)
        : fKind(kind), fAnswer(answer), fCurve(curve)
    {
    }

    std::int32_t kind() const { return fKind; }
    TbitField32 answer() const { return fAnswer; }
    // Helpers reply through the message they were given.
    void setAnswer(TbitField32 answer) const { fAnswer = answer; }
    // The curve the question is about.
    TparamCurve* curve() const { return fCurve; }
    bool copy(TserverMsg const& other) override;

private:
    std::int32_t fKind = kBeginChange;
    mutable TbitField32 fAnswer{1};
    TparamCurve* fCurve = nullptr;
};
