#pragma once

#include "keelanim/base/export.h"

// The small part of the host plug-in API that undo records present
// themselves through: a reference-counted object base, the type numbers, and
// the names of those types.

struct KEEL_API ZFn {
    enum Type : int {
        kInvalid = 0,
        kKeyframeDelta = 939,
        kKeyframeDeltaMove = 940,
        kKeyframeDeltaScale = 941,
        kKeyframeDeltaAddRemove = 942,
        kKeyframeDeltaBlockAddRemove = 943,
        kKeyframeDeltaInfType = 944,
        kKeyframeDeltaTangent = 945,
        kKeyframeDeltaWeighted = 946,
        kKeyframeDeltaBreakdown = 947,
    };
};

// Objects the host API may hold references to. The engine never deletes
// through these counts; they let a host tell whether it still refers to an
// object.
class KEEL_API ZPtrBase {
public:
    ZPtrBase() = default;
    ZPtrBase(ZPtrBase const&) {}
    ZPtrBase& operator=(ZPtrBase const&) { return *this; }
    virtual ~ZPtrBase();

    void apiReference() { ++fApiReferences; }
    void apiRelease() { fApiReferences = fApiReferences > 0 ? fApiReferences - 1 : 0; }
    unsigned apiReferences() const { return fApiReferences; }

private:
    unsigned fApiReferences = 0;
};

// Names of the API types.
class KEEL_API ZObjBase {
public:
    // "kKeyframeDeltaMove" and so on; "kInvalid" for numbers without a name.
    static char const* typeString(ZFn::Type type);
};
