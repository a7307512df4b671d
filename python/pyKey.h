#pragma once

#include "pyErrors.h"

#include <keelanim/keelanim.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

class TpyCurve;

// TpyKey: what a Python keelanim.Key holds: a view of one key of a curve.
//
// It is backed by a TkeyframeHandle that listens to the curve, so it names
// the key object rather than an index: it follows the key however keys are
// added, removed or moved around it, learns when the key leaves the curve
// and when an undo puts it back. It watches the Python curve without
// keeping it alive.
//
// Reading:  time and value stay readable after the key left the curve (as
//           they were then); the other properties need the key object,
//           which lives while an undo record holds it.
// Writing:  goes through the curve's own edits (recorded in a
//           modification) and needs the key on the curve (ValueError).
// A view whose Python curve is gone raises ReferenceError.
class TpyKey {
public:
    TpyKey(std::shared_ptr<TpyCurve> const& curve, Tkeyframe* key);

    // The Python curve; ReferenceError once it is gone.
    std::shared_ptr<TpyCurve> curve() const;
    bool present() const;
    // The key's index, or nothing while it is not on the curve.
    std::optional<unsigned> index() const;

    double seconds() const;
    std::int32_t ticks() const;
    double value() const;
    // Moves the key to a new time (keeping its value) or a new value
    // (keeping its time); ValueError when another key lies at that time.
    void setTime(TpyTime const& time);
    void setValue(double value);

    TtangentType inType() const { return object().storedTanInType(); }
    TtangentType outType() const { return object().storedTanOutType(); }
    void setTypes(TtangentType in, TtangentType out);
    // The tangent vector (time in seconds, value): three times the Bezier
    // handle of the span on that side. Setting one makes that side fixed.
    std::pair<float, float> tangent(bool in) const;
    void setTangent(bool in, float x, float y);

    // The key's flag bits (breakdown and the three locks).
    bool flag(Tkeyframe::TflagBit bit) const { return object().flags().isSet(bit); }
    void setFlag(Tkeyframe::TflagBit bit, bool on);

    bool sameKey(TpyKey const& other) const { return fHandle == other.fHandle; }
    std::string repr() const;

private:
    // The live curve and the key's index on it; ValueError when the key is
    // not on the curve.
    std::pair<TparamCurve*, unsigned> placed(char const* action) const;
    // The key object; ReferenceError when it no longer exists.
    Tkeyframe const& object() const;

    std::weak_ptr<TpyCurve> fCurve;
    TkeyframeHandle fHandle;
};
