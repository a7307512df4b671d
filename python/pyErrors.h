#pragma once

#include <keelanim/base/animTime.h>

#include <pybind11/pybind11.h>

#include <string>
#include <variant>

// How the module turns the engine's quiet refusals into Python exceptions.
//
// The engine answers false, 0 or null and leaves its objects untouched; the
// module checks the input it can check before calling (so that the message
// names the real fault) and raises for the refusals left over:
//
//   ValueError      NaN and non-finite input, times outside the tick range,
//                   a key already at a time, a refused change, bad files
//   IndexError      a key index outside the curve
//   TypeError       arguments of the wrong type (raised by pybind11)
//   ReferenceError  a key view whose curve no longer exists, or whose key
//                   object was deleted
//   RuntimeError    a curve used while another thread bakes it, a
//                   modification opened twice, an undo step in the wrong state
//
// Every function here throws a pybind11 exception; none returns.

namespace py = pybind11;

[[noreturn]] void raiseValueError(std::string const& what);
[[noreturn]] void raiseIndexError(std::string const& what);
[[noreturn]] void raiseReferenceError(std::string const& what);
[[noreturn]] void raiseRuntimeError(std::string const& what);

// Raises ValueError naming `what` when the engine refused (`accepted` false).
void requireAccepted(bool accepted, std::string const& what);
// Raises ValueError when `number` is NaN or infinite, naming it `what`.
void requireFinite(double number, char const* what);

// A time as Python gives it: float seconds, or ticks (keelanim.Ticks).
using TpyTime = std::variant<TanimTime, double>;

// The time in the form a curve stores (ticks rounded to the nearest tick
// for an animTime curve, float seconds otherwise). ValueError for NaN,
// infinities, and seconds beyond the 32-bit tick range on an animTime curve.
TtimeValue storedTimeOf(TpyTime const& time, bool ticks);
// The time in seconds; NaN stays NaN (callers decide).
double secondsOf(TpyTime const& time);
