#pragma once

#include "keelanim/base/array.h"
#include "keelanim/base/export.h"
#include "keelanim/base/iffTag.h"
#include "keelanim/base/tstring.h"

class T2dAnimCurve;
class TpluginAnimCurveInterp;

// Segment kinds registered by the host at run time.
//
// A registration names a kind, numbers it (its TinterpolatorType and
// TtangentType value; 19 to 26 and 64 to 32767 are the numbers spans route
// to plug-ins) and supplies the function that makes its segments. A key
// whose out-tangent type is that number gives its span that kind.
//
// The registry owns its records; segments made through a record belong to
// the curve that asked for them. Register kinds from one thread before
// curves use them: the registry takes no lock.

// Makes a new segment (caller owns it) for a registered kind.
using TpluginCreateFn = void* (*)(bool floatInput, TpluginAnimCurveInterp const* record);
using TpluginSecondFn = void* (*)();

class KEEL_API TpluginAnimCurveInterp {
public:
    // Flags of the `extra` word that the engine reads.
    static constexpr unsigned kEvaluatesAtKeys = 1;  // supplies the value at its keys
    static constexpr unsigned kTypeLocked = 2;       // tangent rules leave keys of this type alone

    TpluginAnimCurveInterp(Tstring const& name, TiffTag const& tag, unsigned extra, TpluginCreateFn create,
                           TpluginSecondFn second);

    // A new segment, or null when the record has no second function (such a
    // kind is not usable) or the create function makes none.
    T2dAnimCurve* createInstance(bool floatInput) const;

    Tstring const& name() const { return fName; }
    TiffTag const& tag() const { return fTag; }
    unsigned extra() const { return fExtra; }

private:
    Tstring fName;
    TiffTag fTag;
    unsigned fExtra;
    TpluginCreateFn fCreate;
    TpluginSecondFn fSecond;
};

using TpluginAnimCurveInterpPtrArray = TtypedArray<TpluginAnimCurveInterp*>;

class KEEL_API TpluginAnimCurveInterpDBase {
public:
    // The new record, or null when that number is registered already.
    static TpluginAnimCurveInterp* add(Tstring const& name, TiffTag const& tag, unsigned extra, TpluginCreateFn create,
                                       TpluginSecondFn second);
    // The first record with that name / number, or null.
    static TpluginAnimCurveInterp* find(Tstring const& name);
    static TpluginAnimCurveInterp* find(unsigned number);
    static TpluginAnimCurveInterp* find(TiffTag const& tag) { return find(tag.value()); }
    // Removes and destroys the registered record with the same number as
    // `record` (which need not be that record).
    static bool remove(TpluginAnimCurveInterp* record);
    // Removes and destroys every record, last first. Always true.
    static bool removeAll(bool = false);
    // A new segment of the registered kind, or null.
    static T2dAnimCurve* create(bool floatInput, unsigned number);
    // Empties `out`, then lists every record in registration order.
    static bool getAnimCurveInterpList(TpluginAnimCurveInterpPtrArray& out);

    // Null until the first registration.
    static TpluginAnimCurveInterpPtrArray* interpList;  // NOLINT(readability-identifier-naming): the name hosts use
};
