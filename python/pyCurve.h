#pragma once

#include "pyErrors.h"
#include "pyKey.h"
#include "pyUndo.h"

#include <curveSet.h>
#include <keelanim/keelanim.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// TpyCurve: what a Python keelanim.Curve holds.
//
// It is an entry of the keelcurve tool's curve set (TnamedCurve: the engine
// curve, its name, its glTF target, and for a rotation channel the link that
// keeps its triple together), so the same object goes into JSON files, glTF
// imports and plots unchanged. Python owns it through a shared pointer; sets,
// undo steps and key views share or watch it:
//
//  - a CurveSet holds its curves (shared);
//  - an undo step holds the engine curves it recorded (shared), so that its
//    records never outlive their curve;
//  - a key view only watches (weak): once the Python curve is gone, the view
//    raises ReferenceError.
//
// Every use of the engine curve goes through engine(), which refuses
// (RuntimeError) while a bake on another thread evaluates the curve or a
// curve of its rotation triple with the GIL released.
class TpyCurve : public std::enable_shared_from_this<TpyCurve> {
public:
    explicit TpyCurve(TnamedCurve entry);
    TpyCurve(TpyCurve const&) = delete;
    TpyCurve& operator=(TpyCurve const&) = delete;
    ~TpyCurve();

    static std::shared_ptr<TpyCurve> make(std::string name, bool ticks);

    // The engine curve, for use with the GIL held.
    TparamCurve& engine() const;
    TnamedCurve const& entry() const { return fEntry; }
    std::string const& name() const { return fEntry.fName; }
    void setName(std::string name) { fEntry.fName = std::move(name); }
    // This curve and the other channels of its rotation triple (alone when it
    // is none): the curves an edit of this one may reach.
    std::vector<std::shared_ptr<TparamCurve>> reachableCurves() const;

    // --- Keys ------------------------------------------------------------
    unsigned keyCount() const { return engine().keyframeCountAll(); }
    // The index of a Python index (negative counts from the end); IndexError
    // outside the keys.
    unsigned keyIndex(std::int64_t index) const;
    TpyKey key(unsigned index);
    // The key at `time` (within the engine's tolerance), if any.
    std::optional<TpyKey> keyAt(TpyTime const& time);
    // A key at `time` with `value`; a key already there takes the new data.
    TpyKey add(TpyTime const& time, double value, TtangentType in, TtangentType out);
    // A new key at `time`, refused (ValueError) where a key lies already;
    // without a value, the key keeps the curve's shape.
    TpyKey insert(TpyTime const& time, std::optional<double> value, TtangentType in, TtangentType out);
    void remove(unsigned index);
    // Every key's time (seconds) or value, in key order.
    py::array_t<double> keyTimes() const;
    py::array_t<double> keyValues() const;

    // --- Curve-wide settings ---------------------------------------------
    void setInfinity(bool pre, TparamCurveEnums::TinfinityType type);
    void setWeighted(bool weighted);

    // --- Evaluation --------------------------------------------------------
    // The value at a time: float seconds, ticks (exact on an animTime
    // curve), or an array of seconds (answered as an array of its shape).
    py::object evaluate(py::handle time);
    // (times, values) sampled at `fps` from `start` to `end` (the first and
    // last key by default), evaluated with the GIL released.
    py::tuple bake(std::optional<double> start, std::optional<double> end, double fps);

    // --- Undo ----------------------------------------------------------------
    TpyHistory& history() { return fHistory; }

    // --- Change callbacks ------------------------------------------------------
    // Calls `callback(change)` for every change message the engine curve
    // sends its clients (TparamCurveModifiedMsg); answers the subscription's
    // number, for unsubscribe().
    std::uint64_t subscribe(py::function callback);
    bool unsubscribe(std::uint64_t id);
    bool subscribed(std::uint64_t id) const;

private:
    class Tlistener;

    double evaluateScalar(py::handle time);
    py::array_t<double> evaluateArray(py::handle times);
    // The first and last key time; ValueError for a curve without keys.
    std::pair<double, double> keyRange() const;

    TnamedCurve fEntry;
    TpyHistory fHistory;
    // Declared last: they leave the engine curve before it may go.
    std::vector<std::unique_ptr<Tlistener>> fListeners;
};

// One change a curve announced, as a change callback receives it: its kind,
// the curve, and the key it concerns while that key is on the curve.
struct TpyChange {
    TparamCurveModifiedMsg::TmessageType fKind = TparamCurveModifiedMsg::kKeyChanged;
    std::shared_ptr<TpyCurve> fCurve;
    std::optional<TpyKey> fKey;
};

// TbakeGuard: marks the curves a bake evaluates without the GIL, for its
// lifetime; TpyCurve::engine() refuses a marked curve. Fails (RuntimeError,
// nothing marked) when one is marked already. The marks are read and
// written with the GIL held only.
class TbakeGuard {
public:
    explicit TbakeGuard(std::vector<std::shared_ptr<TparamCurve>> curves);
    TbakeGuard(TbakeGuard const&) = delete;
    TbakeGuard& operator=(TbakeGuard const&) = delete;
    ~TbakeGuard();

    static bool busy(TparamCurve const* curve);

private:
    std::vector<std::shared_ptr<TparamCurve>> fCurves;
};

// The number of samples of a bake from `start` to `end` at `fps` (see
// bakeFrameCount); ValueError for non-finite input, a frame rate that is
// not positive, an end before the start, or more samples than a bake takes.
std::size_t bakeSampleCount(double start, double end, double fps);
// values[i] = the curve at times[i] seconds, evaluated as float seconds like
// the keelcurve tool does. Callers hold a TbakeGuard and release the GIL.
void sampleCurve(TparamCurve& curve, double const* times, double* values, std::size_t count);
