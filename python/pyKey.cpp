#include "pyKey.h"

#include "pyCurve.h"

namespace {

std::string text(double number)
{
    return py::str(py::float_(number)).cast<std::string>();
}

}  // namespace

TpyKey::TpyKey(std::shared_ptr<TpyCurve> const& curve, Tkeyframe* key)
    : fCurve(curve), fHandle(&curve->engine(), key, true)
{
}

std::shared_ptr<TpyCurve> TpyKey::curve() const
{
    std::shared_ptr<TpyCurve> curve = fCurve.lock();
    if (curve == nullptr) {
        raiseReferenceError("the key's curve no longer exists");
    }
    return curve;
}

bool TpyKey::present() const
{
    return !fCurve.expired() && fHandle.present();
}

std::optional<unsigned> TpyKey::index() const
{
    TparamCurve const& engine = curve()->engine();
    if (!fHandle.present()) {
        return std::nullopt;
    }
    return engine.indexOfKey(fHandle.keyframe());
}

std::pair<TparamCurve*, unsigned> TpyKey::placed(char const* action) const
{
    TparamCurve& engine = curve()->engine();
    if (!fHandle.present()) {
        raiseValueError(std::string("cannot ") + action + " a key that is not on its curve");
    }
    return {&engine, engine.indexOfKey(fHandle.keyframe())};
}

Tkeyframe const& TpyKey::object() const
{
    curve()->engine();
    Tkeyframe const* key = fHandle.keyframe();
    if (key == nullptr) {
        raiseReferenceError("the key was deleted");
    }
    return *key;
}

double TpyKey::seconds() const
{
    curve()->engine();
    return fHandle.timeValue().seconds();
}

std::int32_t TpyKey::ticks() const
{
    curve()->engine();
    return fHandle.timeValue().asAnimTime().ticks();
}

double TpyKey::value() const
{
    curve()->engine();
    return fHandle.value();
}

void TpyKey::setTime(TpyTime const& time)
{
    auto const [engine, index] = placed("move");
    TtimeValue const target = storedTimeOf(time, engine->isAnimTimeCurve());
    unsigned met = 0;
    bool const occupied = engine->find(target, met);
    if (occupied && met == index) {
        return;
    }
    if (occupied) {
        raiseValueError("another key lies at " + text(target.seconds()) + " s");
    }
    bool const moved =
        engine->moveKeyframe(index, target, engine->value(index), TparamCurveEnums::kMoveBetweenNeighbours, true);
    requireAccepted(moved, "the curve refused to move the key (locked or vetoed)");
}

void TpyKey::setValue(double value)
{
    requireFinite(value, "the value");
    auto const [engine, index] = placed("change");
    Tkeyframe const* key = engine->keyframe(index);
    if (key->value() != value) {
        requireAccepted(engine->moveKeyframeInValue(index, value, key->quatComponent()),
                        "the curve refused the value (locked or vetoed)");
    }
}

// Setting the types a key has already leaves it alone (the engine would
// derive its tangents again). The engine records the change in a
// modification.
void TpyKey::setTypes(TtangentType in, TtangentType out)
{
    auto const [engine, index] = placed("change");
    Tkeyframe const* key = engine->keyframe(index);
    if (key->storedTanInType() == in && key->storedTanOutType() == out) {
        return;
    }
    requireAccepted(engine->setTangentType(index, in, out), "the curve refused the tangent types (locked or vetoed)");
}

std::pair<float, float> TpyKey::tangent(bool in) const
{
    std::pair<float, float> vector;
    Tkeyframe const& key = object();
    in ? key.getTanIn(vector.first, vector.second) : key.getTanOut(vector.first, vector.second);
    return vector;
}

void TpyKey::setTangent(bool in, float x, float y)
{
    requireFinite(x, "the tangent's time component");
    requireFinite(y, "the tangent's value component");
    auto const [engine, index] = placed("change");
    if (tangent(in) == std::pair(x, y)) {
        return;
    }
    requireAccepted(engine->dragTangent(index, x, y, in),
                    "the curve refused the tangent (a forced-linear span, a locked curve or a veto)");
}

void TpyKey::setFlag(Tkeyframe::TflagBit bit, bool on)
{
    auto const [engine, index] = placed("change");
    if (flag(bit) == on) {
        return;
    }
    bool set = false;
    switch (bit) {
    case Tkeyframe::kBreakdownBit: set = engine->setBreakdown(index, on); break;
    case Tkeyframe::kLockedBit: set = engine->setLocked(index, on); break;
    case Tkeyframe::kTangentsLockedBit: set = engine->setTangentsLocked(index, on); break;
    case Tkeyframe::kWeightsLockedBit: set = engine->setWeightsLocked(index, on); break;
    default: raiseValueError("no such key flag");
    }
    requireAccepted(set, "the curve refused the key flag (locked or vetoed)");
}

std::string TpyKey::repr() const
{
    if (fCurve.expired()) {
        return "<keelanim.Key of a deleted curve>";
    }
    std::string const where = fHandle.present() ? "" : ", removed";
    return "keelanim.Key(time=" + text(fHandle.timeValue().seconds()) + ", value=" + text(fHandle.value()) + where +
           ")";
}
