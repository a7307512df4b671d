#include "pyErrors.h"

#include <cmath>
#include <limits>

namespace {

[[noreturn]] void raise(PyObject* type, std::string const& what)
{
    PyErr_SetString(type, what.c_str());
    throw py::error_already_set();
}

// Seconds that round to a tick inside the signed 32-bit range.
constexpr double kMaxTickSeconds = double(std::numeric_limits<std::int32_t>::max()) / kTicksPerSecond;

std::string text(double number)
{
    return py::str(py::float_(number)).cast<std::string>();
}

}  // namespace

void raiseValueError(std::string const& what)
{
    raise(PyExc_ValueError, what);
}

void raiseIndexError(std::string const& what)
{
    raise(PyExc_IndexError, what);
}

void raiseReferenceError(std::string const& what)
{
    raise(PyExc_ReferenceError, what);
}

void raiseRuntimeError(std::string const& what)
{
    raise(PyExc_RuntimeError, what);
}

void requireAccepted(bool accepted, std::string const& what)
{
    if (!accepted) {
        raiseValueError(what);
    }
}

void requireFinite(double number, char const* what)
{
    if (std::isnan(number)) {
        raiseValueError(std::string(what) + " is NaN");
    }
    if (!std::isfinite(number)) {
        raiseValueError(std::string(what) + " is not finite (" + text(number) + ")");
    }
}

double secondsOf(TpyTime const& time)
{
    if (auto const* ticks = std::get_if<TanimTime>(&time)) {
        return ticks->seconds();
    }
    return std::get<double>(time);
}

TtimeValue storedTimeOf(TpyTime const& time, bool ticks)
{
    if (auto const* given = std::get_if<TanimTime>(&time)) {
        return ticks ? TtimeValue(*given) : TtimeValue(float(given->seconds()));
    }
    double const seconds = std::get<double>(time);
    requireFinite(seconds, "the time");
    if (!ticks) {
        requireFinite(float(seconds), "the time as float seconds");
        return TtimeValue(float(seconds));
    }
    if (std::fabs(seconds) > kMaxTickSeconds) {
        raiseValueError("the time " + text(seconds) + " s lies beyond the tick range of an animTime curve");
    }
    return TtimeValue(TanimTime(seconds, kSeconds));
}
