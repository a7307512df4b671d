#include "keelanim/segments/pluginInterp.h"

#include "keelanim/base/engineHooks.h"

#include "keelanim/segments/animCurve.h"

namespace {
constexpr unsigned kInitialCapacity = 8;
}  // namespace

TpluginAnimCurveInterpPtrArray* TpluginAnimCurveInterpDBase::interpList = nullptr;

TpluginAnimCurveInterp::TpluginAnimCurveInterp(Tstring const& name, TiffTag const& tag, unsigned extra,
                                               TpluginCreateFn create, TpluginSecondFn second)
    : fName(name), fTag(tag), fExtra(extra), fCreate(create), fSecond(second)
{
}

T2dAnimCurve* TpluginAnimCurveInterp::createInstance(bool floatInput) const
{
    if (fSecond == nullptr || fCreate == nullptr) {
        return nullptr;
    }
    return static_cast<T2dAnimCurve*>(fCreate(floatInput, this));
}

TpluginAnimCurveInterp* TpluginAnimCurveInterpDBase::add(Tstring const& name, TiffTag const& tag, unsigned extra,
                                                         TpluginCreateFn create, TpluginSecondFn second)
{
    if (find(tag) != nullptr) {
        return nullptr;
    }
    if (interpList == nullptr) {
        interpList = new TpluginAnimCurveInterpPtrArray(kInitialCapacity);
    }
    auto* record = new TpluginAnimCurveInterp(name, tag, extra, create, second);
    interpList->addLast(record);
    return record;
}

TpluginAnimCurveInterp* TpluginAnimCurveInterpDBase::find(Tstring const& name)
{
    if (interpList != nullptr) {
        for (TpluginAnimCurveInterp* record : *interpList) {
            if (record->name() == name) {
                return record;
            }
        }
    }
    return nullptr;
}

TpluginAnimCurveInterp* TpluginAnimCurveInterpDBase::find(unsigned number)
{
    if (interpList != nullptr) {
        for (TpluginAnimCurveInterp* record : *interpList) {
            if (record->tag().value() == number) {
                return record;
            }
        }
    }
    return nullptr;
}

bool TpluginAnimCurveInterpDBase::remove(TpluginAnimCurveInterp* record)
{
    TpluginAnimCurveInterp* registered = record != nullptr ? find(record->tag()) : nullptr;
    if (registered == nullptr) {
        return false;
    }
    interpList->remove(registered);
    delete registered;
    return true;
}

bool TpluginAnimCurveInterpDBase::removeAll(bool)
{
    if (interpList != nullptr) {
        for (unsigned i = interpList->count(); i-- > 0;) {
            delete (*interpList)[i];
            interpList->removeAt(i, 1);
        }
    }
    return true;
}

T2dAnimCurve* TpluginAnimCurveInterpDBase::create(bool floatInput, unsigned number)
{
    TpluginAnimCurveInterp const* record = find(number);
    return record != nullptr ? record->createInstance(floatInput) : nullptr;
}

bool TpluginAnimCurveInterpDBase::getAnimCurveInterpList(TpluginAnimCurveInterpPtrArray& out)
{
    out.changeLogicalSizeTo(0);
    if (interpList != nullptr) {
        out.catenate(*interpList);
    }
    return true;
}

namespace {

// Keys ask whether a plug-in locks their tangent type through the base
// layer's hook.
bool pluginLocksType(std::int32_t type)
{
    TpluginAnimCurveInterp const* plugin = TpluginAnimCurveInterpDBase::find(static_cast<unsigned>(type));
    return plugin != nullptr && (plugin->extra() & TpluginAnimCurveInterp::kTypeLocked) != 0;
}

[[maybe_unused]] bool const sLockHooked = [] {
    TengineHooks::fsTangentTypeLocked = pluginLocksType;
    return true;
}();

}  // namespace
