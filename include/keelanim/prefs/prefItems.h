#pragma once

#include "keelanim/base/export.h"
#include "keelanim/base/metaclass.h"
#include "keelanim/base/preferences.h"
#include "keelanim/keys/tangentType.h"

// The engine's two preferences, kept in the host's global preference
// manager and looked up by number each time they are needed:
//  - 201 "keyTangent": the default tangent types of new keys and whether new
//    curves have weighted tangents;
//  - 202 "animDisplay": whether curves from referenced files may be edited.
// Both are created at start-up by the geometry basket and can print the
// command that recreates them.

KEEL_DECLARE_METACLASS(TprefKeyframe);
KEEL_DECLARE_METACLASS(TprefAnim);

inline constexpr int kPrefKeyTangentId = 201;
inline constexpr int kPrefAnimDisplayId = 202;
inline constexpr unsigned kPrefItemFlags = 17;

class KEEL_API TprefKeyframe : public TpreferenceItem {
    KEEL_TYPED(TprefKeyframe)

public:
    // Spline in and out, not weighted.
    TprefKeyframe();

    // Appends: keyTangent -global -inTangentType <in> -outTangentType <out>
    // -weightedTangents <true|false>;  A type without a keyword (and not a
    // registered plug-in) prints nothing, not even its blank.
    void commandString(Tstring& out) override;

    bool weightedTangents() const { return (fFlags & kWeightedBit) != 0; }
    void setWeightedTangents(bool on) { fFlags = on ? (fFlags | kWeightedBit) : (fFlags & ~kWeightedBit); }
    TtangentType inTangentType() const { return fInType; }
    TtangentType outTangentType() const { return fOutType; }
    void setInTangentType(TtangentType type) { fInType = type; }
    void setOutTangentType(TtangentType type) { fOutType = type; }

    // The keyword of a tangent type followed by a blank, or nothing.
    static void appendKeyword(Tstring& out, TtangentType type);

private:
    static constexpr unsigned kWeightedBit = 1;
    unsigned fFlags = 0;
    TtangentType fInType = kTangentSpline;
    TtangentType fOutType = kTangentSpline;
};

class KEEL_API TprefAnim : public TpreferenceItem {
    KEEL_TYPED(TprefAnim)

public:
    TprefAnim();

    // Appends: animDisplay -refAnimCurvesEditable <true|false>;
    void commandString(Tstring& out) override;

    bool refAnimCurvesEditable() const { return (fFlags & kEditableBit) != 0; }
    void setRefAnimCurvesEditable(bool on) { fFlags = on ? (fFlags | kEditableBit) : (fFlags & ~kEditableBit); }

private:
    static constexpr unsigned kEditableBit = 1;
    unsigned fFlags = 0;
};

// The basket that holds the engine's preference items.
class KEEL_API TgeometryBasket : public Tbasket {
public:
    // Creates the basket and its items; run once at library initialisation.
    static void initialize();
    static TgeometryBasket* instance() { return fsInstance; }

private:
    static TgeometryBasket* fsInstance;
};

// The registered items when they are of the engine's classes, else null.
KEEL_API TprefKeyframe* keyTangentPreference();
KEEL_API TprefAnim* animDisplayPreference();
