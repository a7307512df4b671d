#include "keelanim/prefs/prefItems.h"

#include "keelanim/base/engineHooks.h"

#include "keelanim/segments/pluginInterp.h"

KEEL_DEFINE_METACLASS(TprefKeyframe, &TpreferenceItemTmeta);
KEEL_DEFINE_METACLASS(TprefAnim, &TpreferenceItemTmeta);

namespace {

char const* builtInKeyword(TtangentType type)
{
    switch (type) {
    case kTangentFixed: return "fixed";
    case kTangentLinear: return "linear";
    case kTangentFlat: return "flat";
    case kTangentStep: return "step";
    case kTangentSlow: return "slow";
    case kTangentFast: return "fast";
    case kTangentSpline: return "spline";
    case kTangentClamped: return "clamped";
    case kTangentPlateau: return "plateau";
    case kTangentAuto: return "auto";
    default: return nullptr;
    }
}

// Registered at load: the items exist before anything looks them up.
TinitBasket const sGeometryBasket(&TgeometryBasket::initialize, kInitNormal);

template <class Item> Item* preferenceOfClass(int id)
{
    TpreferenceItem* item = nullptr;
    if (!TglobalPrefMgr::getPrefItem(id, item)) {
        return nullptr;
    }
    return keelCast<Item>(item);
}

}  // namespace

TgeometryBasket* TgeometryBasket::fsInstance = nullptr;

TprefKeyframe::TprefKeyframe()
{
    setItemType(kPrefKeyTangentId);
    setFlags(kPrefItemFlags);
}

void TprefKeyframe::appendKeyword(Tstring& out, TtangentType type)
{
    char const* keyword = builtInKeyword(type);
    if (keyword != nullptr) {
        out.append(keyword);
        out.appendChar(' ');
        return;
    }
    if (TpluginAnimCurveInterp const* plugin = TpluginAnimCurveInterpDBase::find(static_cast<unsigned>(type))) {
        out.append(plugin->name());
        out.appendChar(' ');
    }
}

void TprefKeyframe::commandString(Tstring& out)
{
    out.append("keyTangent -global -inTangentType ");
    appendKeyword(out, fInType);
    out.append("-outTangentType ");
    appendKeyword(out, fOutType);
    out.append("-weightedTangents ");
    out.append(weightedTangents() ? "true" : "false");
    out.append(";");
}

TprefAnim::TprefAnim()
{
    setItemType(kPrefAnimDisplayId);
    setFlags(kPrefItemFlags);
}

void TprefAnim::commandString(Tstring& out)
{
    out.append("animDisplay -refAnimCurvesEditable ");
    out.append(refAnimCurvesEditable() ? "true" : "false");
    out.append(";");
}

void TgeometryBasket::initialize()
{
    if (fsInstance != nullptr) {
        return;
    }
    // Lives as long as the process: keys and curves consult its items until
    // the very end.
    fsInstance = new TgeometryBasket();
    fsInstance->addItem(new TprefKeyframe());
    fsInstance->addItem(new TprefAnim());
}

TprefKeyframe* keyTangentPreference()
{
    return preferenceOfClass<TprefKeyframe>(kPrefKeyTangentId);
}

TprefAnim* animDisplayPreference()
{
    return preferenceOfClass<TprefAnim>(kPrefAnimDisplayId);
}

namespace {

// Keys ask for their default tangent types through the base layer's hook.
bool preferredTangentTypes(std::int32_t& in, std::int32_t& out)
{
    TprefKeyframe const* preference = keyTangentPreference();
    if (preference == nullptr) {
        return false;
    }
    in = preference->inTangentType();
    out = preference->outTangentType();
    return true;
}

[[maybe_unused]] bool const sDefaultsHooked = [] {
    TengineHooks::fsDefaultTangentTypes = preferredTangentTypes;
    return true;
}();

}  // namespace
