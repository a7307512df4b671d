#include "keelanim/base/numeric.h"
#include "keelanim/curve/paramCurve.h"
#include "keelanim/editing/changeFunctions.h"
#include "keelanim/editing/keyframeHandle.h"

#include <cmath>

namespace {

// A side of the bounding rectangle narrower than this is taken as flat.
constexpr double kFlatSide = 0.01;

// The scale that maps a side into the unit square: 1 for a flat side.
double sideScale(double length)
{
    return length < kFlatSide ? 1.0 : length;
}

}  // namespace

// --- The shared lattice ------------------------------------------------------------------------------

TsharedLatticeObject::TsharedLatticeObject()
{
    reset();
}

TsharedLatticeObject::~TsharedLatticeObject() = default;

int TsharedLatticeObject::dimensions() const
{
    bool const narrow = fRect.width() < kFlatSide;
    bool const flat = fRect.height() < kFlatSide;
    if (narrow && flat) {
        return 0;
    }
    if (flat) {
        return 1;
    }
    return narrow ? 2 : 3;
}

void TsharedLatticeObject::convertToLatticeSpace(double& x, double& y) const
{
    x = (x - fRect.fLeft) / sideScale(fRect.width());
    y = (y - fRect.fBottom) / sideScale(fRect.height());
}

void TsharedLatticeObject::convertToWorldSpace(double& x, double& y) const
{
    x = x * sideScale(fRect.width()) + fRect.fLeft;
    y = y * sideScale(fRect.height()) + fRect.fBottom;
}

void TsharedLatticeObject::copy(TsharedLatticeObject const& other)
{
    if (&other == this) {
        return;
    }
    fPoints.copy(other.fPoints);
    fSDivisions = other.fSDivisions;
    fTDivisions = other.fTDivisions;
    fEnvelope = other.fEnvelope;
    fRect = other.fRect;
}

void TsharedLatticeObject::reset()
{
    fPoints.changeLogicalSizeTo(0);
    for (unsigned t = 0; t < fTDivisions; ++t) {
        for (unsigned s = 0; s < fSDivisions; ++s) {
            fPoints.addLast(T4dDblPoint{double(s) / (fSDivisions - 1), double(t) / (fTDivisions - 1), 0.0, 1.0});
        }
    }
}

bool TsharedLatticeObject::setDivisions(unsigned& side, unsigned divisions)
{
    if (divisions < 2) {
        return false;
    }
    side = divisions;
    reset();
    return true;
}

bool TsharedLatticeObject::setSDivisions(unsigned divisions)
{
    return setDivisions(fSDivisions, divisions);
}

bool TsharedLatticeObject::setTDivisions(unsigned divisions)
{
    return setDivisions(fTDivisions, divisions);
}

bool TsharedLatticeObject::setEnvelope(float envelope)
{
    if (!(envelope >= 0.0f) || !std::isfinite(envelope)) {
        return false;
    }
    fEnvelope = envelope;
    return true;
}

bool TsharedLatticeObject::setBoundingRect(TdblRect const& rect)
{
    bool const finite = std::isfinite(rect.fLeft) && std::isfinite(rect.fRight) && std::isfinite(rect.fBottom) &&
                        std::isfinite(rect.fTop);
    if (!finite || rect.fRight < rect.fLeft || rect.fTop < rect.fBottom) {
        return false;
    }
    fRect = rect;
    return true;
}

bool TsharedLatticeObject::setLatticePair(unsigned s, unsigned t, double x, double y)
{
    if (s >= fSDivisions || t >= fTDivisions || !std::isfinite(x) || !std::isfinite(y)) {
        return false;
    }
    T4dDblPoint& point = fPoints[t * fSDivisions + s];
    point.fX = x;
    point.fY = y;
    return true;
}

// --- The lattice change ------------------------------------------------------------------------------

TlatticeFn::~TlatticeFn()
{
    releaseLattices();
}

void TlatticeFn::releaseLattices()
{
    auto release = [](TsharedLatticeObject*& lattice) {
        if (lattice != nullptr) {
            lattice->unref();
            lattice = nullptr;
        }
    };
    release(fCurrent);
    release(fPrevious);
}

bool TlatticeFn::loadDeformer()
{
    fCache.deleteEntries();
    return fCurrent != nullptr && fDeformer.setLatticeParams(fCurrent->sDivisions(), fCurrent->tDivisions(),
                                                             fCurrent->envelope(), &fCurrent->latticePoints());
}

void TlatticeFn::setLatticeParams(TsharedLatticeObject* lattice)
{
    if (lattice == nullptr || !lattice->valid()) {
        return;
    }
    lattice->ref();  // before letting go, in case it is one of ours
    releaseLattices();
    fCurrent = lattice;
    loadDeformer();
    fPrevious = new TsharedLatticeObject();
    fPrevious->ref();
    fPrevious->copy(*lattice);
}

void TlatticeFn::setOrigValuesHashTB(TlatticeFnValuesHash const* values)
{
    if (values == nullptr) {
        return;
    }
    fOriginal.deleteEntries();
    fCache.deleteEntries();
    // The iterator walks a table it may not change; the entries are only read.
    TlatticeFnValuesHash::Iterator walk(const_cast<TlatticeFnValuesHash&>(*values));  // NOLINT
    for (auto* entry = walk.first(); entry != nullptr; entry = walk.next()) {
        fOriginal.insert(entry->fKey, entry->fValue);
    }
}

bool TlatticeFn::addOrigValue(Tkeyframe* key, float time, double value, double valueScale)
{
    if (key == nullptr || !std::isfinite(time) || !std::isfinite(value) || !std::isfinite(valueScale)) {
        return false;
    }
    fOriginal.insert(key, TlatticeFnValues{time, value, valueScale, true});
    fCache.remove(key);
    return true;
}

void TlatticeFn::setLatticeDirty()
{
    loadDeformer();
}

bool TlatticeFn::deform(TkeyframeHandle const* key, TtimeValue& time, double& value) const
{
    Tkeyframe* keyObject = key != nullptr ? key->keyframe() : nullptr;
    TlatticeFnValues original;
    if (keyObject == nullptr || fCurrent == nullptr || !fOriginal.find(keyObject, original) || !original.fValid) {
        return false;
    }
    TlatticeFnValues cached;
    if (fCache.find(keyObject, cached) && cached.fValid) {
        time = TtimeValue(cached.fTime);
        value = cached.fValue;
        return true;
    }
    double x = original.fTime;
    double y = original.fValue;
    fCurrent->convertToLatticeSpace(x, y);
    bool const deformed = fDeformer.deform(x, y);
    fCurrent->convertToWorldSpace(x, y);
    cached = TlatticeFnValues{deformed ? narrowToFloat(x) : 0.0f, deformed ? y * original.fValueScale : 0.0,
                              original.fValueScale, true};
    fCache.insert(keyObject, cached);
    time = TtimeValue(cached.fTime);
    value = cached.fValue;
    return true;
}

TtimeValue TlatticeFn::timeChange(TkeyframeHandle const* key, TtimeValue const* time) const
{
    TtimeValue deformedTime;
    double deformedValue = 0.0;
    TtimeValue change = TtimeValueChangeFn::timeChange(key, time);
    if (deform(key, deformedTime, deformedValue)) {
        double const from = time != nullptr ? time->seconds() : key->timeValue().seconds();
        change = TtimeValue(narrowToFloat(deformedTime.seconds() - from));
    }
    convertTimeToRequiredFmt(change);
    return change;
}

double TlatticeFn::valueChange(TkeyframeHandle const* key) const
{
    TtimeValue deformedTime;
    double deformedValue = 0.0;
    if (deform(key, deformedTime, deformedValue)) {
        return deformedValue - key->value();
    }
    return TtimeValueChangeFn::valueChange(key);
}

bool TlatticeFn::undo()
{
    if (fCurrent == nullptr || fPrevious == nullptr || !fCurrent->valid()) {
        return false;
    }
    auto* held = new TsharedLatticeObject();
    held->ref();
    held->copy(*fCurrent);
    fCurrent->copy(*fPrevious);
    fPrevious->copy(*held);
    held->unref();
    loadDeformer();
    return true;
}
