#include "keelanim/undo/hostApi.h"

ZPtrBase::~ZPtrBase() = default;

char const* ZObjBase::typeString(ZFn::Type type)
{
    switch (type) {
    case ZFn::kKeyframeDelta: return "kKeyframeDelta";
    case ZFn::kKeyframeDeltaMove: return "kKeyframeDeltaMove";
    case ZFn::kKeyframeDeltaScale: return "kKeyframeDeltaScale";
    case ZFn::kKeyframeDeltaAddRemove: return "kKeyframeDeltaAddRemove";
    case ZFn::kKeyframeDeltaBlockAddRemove: return "kKeyframeDeltaBlockAddRemove";
    case ZFn::kKeyframeDeltaInfType: return "kKeyframeDeltaInfType";
    case ZFn::kKeyframeDeltaTangent: return "kKeyframeDeltaTangent";
    case ZFn::kKeyframeDeltaWeighted: return "kKeyframeDeltaWeighted";
    case ZFn::kKeyframeDeltaBreakdown: return "kKeyframeDeltaBreakdown";
    case ZFn::kInvalid: break;
    }
    return "kInvalid";
}
