#include "pyCurve.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace {

// More samples than this in one bake are refused rather than attempted.
constexpr double kMaxBakeSamples = 1e9;

// How many bakes mark each curve (with the GIL held only).
std::unordered_map<TparamCurve const*, unsigned>& bakeMarks()
{
    static std::unordered_map<TparamCurve const*, unsigned> marks;
    return marks;
}

std::string text(double number)
{
    return py::str(py::float_(number)).cast<std::string>();
}

}  // namespace

// --- Bakes ---------------------------------------------------------------------------------

TbakeGuard::TbakeGuard(std::vector<std::shared_ptr<TparamCurve>> curves) : fCurves(std::move(curves))
{
    for (std::shared_ptr<TparamCurve> const& curve : fCurves) {
        if (busy(curve.get())) {
            raiseRuntimeError("a curve is being baked on another thread");
        }
    }
    for (std::shared_ptr<TparamCurve> const& curve : fCurves) {
        ++bakeMarks()[curve.get()];
    }
}

TbakeGuard::~TbakeGuard()
{
    for (std::shared_ptr<TparamCurve> const& curve : fCurves) {
        auto const mark = bakeMarks().find(curve.get());
        if (--mark->second == 0) {
            bakeMarks().erase(mark);
        }
    }
}

bool TbakeGuard::busy(TparamCurve const* curve)
{
    return !bakeMarks().empty() && bakeMarks().count(curve) != 0;
}

std::size_t bakeSampleCount(double start, double end, double fps)
{
    requireFinite(fps, "fps");
    requireFinite(start, "start");
    requireFinite(end, "end");
    if (fps <= 0.0) {
        raiseValueError("fps must be positive, not " + text(fps));
    }
    if (end < start) {
        raiseValueError("the end " + text(end) + " comes before the start " + text(start));
    }
    double const samples = bakeFrameCount(start, end, fps) + 1.0;
    if (samples > kMaxBakeSamples) {
        raiseValueError("too many samples (" + text(samples) + ")");
    }
    return static_cast<std::size_t>(samples);
}

void sampleCurve(TparamCurve& curve, double const* times, double* values, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = curve.evaluate(static_cast<float>(times[i]));
    }
}

// --- Change callbacks ---------------------------------------------------------------------------

// A client of the engine curve that hands its change messages to a Python
// callable. An exception the callable raises cannot travel through the
// engine's edit: it is reported through sys.unraisablehook, as Python does
// for other callbacks it cannot return to.
class TpyCurve::Tlistener : public Tclient {
public:
    Tlistener(TpyCurve& owner, py::function callback, std::uint64_t id)
        : fOwner(owner), fCallback(std::move(callback)), fId(id)
    {
        owner.engine().addClient(this, TparamCurveModifiedMsgTmeta, &modified);
    }
    Tlistener(Tlistener const&) = delete;
    Tlistener& operator=(Tlistener const&) = delete;
    ~Tlistener() override = default;

    std::uint64_t id() const { return fId; }

private:
    static void modified(Tclient* client, TclientServer*, TserverMsg const& msg)
    {
        static_cast<Tlistener*>(client)->deliver(static_cast<TparamCurveModifiedMsg const&>(msg));
    }

    void deliver(TparamCurveModifiedMsg const& msg)
    {
        std::shared_ptr<TpyCurve> owner = fOwner.weak_from_this().lock();
        if (owner == nullptr) {
            return;
        }
        TpyChange change{msg.type(), owner, std::nullopt};
        Tkeyframe* key = msg.handle() != nullptr ? msg.handle()->keyframe() : nullptr;
        if (key != nullptr && owner->engine().indexOfKey(key) != kArrayFailure) {
            change.fKey.emplace(owner, key);
        }
        try {
            fCallback(change);
        } catch (py::error_already_set& error) {
            error.discard_as_unraisable(fCallback);
        }
    }

    TpyCurve& fOwner;
    py::function fCallback;
    std::uint64_t fId;
};

// --- The curve ------------------------------------------------------------------------------

TpyCurve::TpyCurve(TnamedCurve entry) : fEntry(std::move(entry)) {}

TpyCurve::~TpyCurve() = default;

std::shared_ptr<TpyCurve> TpyCurve::make(std::string name, bool ticks)
{
    return std::make_shared<TpyCurve>(
        TnamedCurve(std::move(name), std::nullopt, std::make_shared<TparamCurve>(!ticks)));
}

TparamCurve& TpyCurve::engine() const
{
    if (TbakeGuard::busy(fEntry.fCurve.get())) {
        raiseRuntimeError("curve '" + fEntry.fName + "' is being baked on another thread");
    }
    return *fEntry.fCurve;
}

std::vector<std::shared_ptr<TparamCurve>> TpyCurve::reachableCurves() const
{
    if (fEntry.fRotation == nullptr) {
        return {fEntry.fCurve};
    }
    auto const& triple = fEntry.fRotation->fCurves;
    return {triple[0], triple[1], triple[2]};
}

unsigned TpyCurve::keyIndex(std::int64_t index) const
{
    auto const count = static_cast<std::int64_t>(keyCount());
    std::int64_t const resolved = index < 0 ? index + count : index;
    if (resolved < 0 || resolved >= count) {
        raiseIndexError("key index " + std::to_string(index) + " is out of range for " + std::to_string(count) +
                        " keys");
    }
    return static_cast<unsigned>(resolved);
}

TpyKey TpyCurve::key(unsigned index)
{
    return TpyKey(shared_from_this(), engine().keyframe(index));
}

std::optional<TpyKey> TpyCurve::keyAt(TpyTime const& time)
{
    TparamCurve& curve = engine();
    unsigned index = 0;
    if (!curve.find(storedTimeOf(time, curve.isAnimTimeCurve()), index)) {
        return std::nullopt;
    }
    return key(index);
}

TpyKey TpyCurve::add(TpyTime const& time, double value, TtangentType in, TtangentType out)
{
    TparamCurve& curve = engine();
    requireFinite(value, "the value");
    TtimeValue const stored = storedTimeOf(time, curve.isAnimTimeCurve());
    requireAccepted(curve.add(Tkeyframe(stored, value, in, out)), "the curve refused the key (locked or vetoed)");
    unsigned index = 0;
    curve.find(stored, index);
    return key(index);
}

TpyKey TpyCurve::insert(TpyTime const& time, std::optional<double> value, TtangentType in, TtangentType out)
{
    TparamCurve& curve = engine();
    if (value) {
        requireFinite(*value, "the value");
    }
    TtimeValue const stored = storedTimeOf(time, curve.isAnimTimeCurve());
    unsigned index = 0;
    if (curve.find(stored, index)) {
        raiseValueError("a key lies at " + text(stored.seconds()) + " s already (add() replaces it)");
    }
    Tkeyframe const made(stored, value.value_or(0.0), in, out);
    bool const inserted = value ? curve.insert(made, false, false) : curve.insertKey(made, true);
    requireAccepted(inserted, "the curve refused the key (locked or vetoed)");
    curve.find(stored, index);
    return key(index);
}

void TpyCurve::remove(unsigned index)
{
    requireAccepted(engine().remove(index), "the curve refused to remove the key (locked or vetoed)");
}

py::array_t<double> TpyCurve::keyTimes() const
{
    TparamCurve const& curve = engine();
    py::array_t<double> times(curve.keyframeCountAll());
    double* out = times.mutable_data();
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        out[i] = curve.doubleSeconds(curve.keyframe(i));
    }
    return times;
}

py::array_t<double> TpyCurve::keyValues() const
{
    TparamCurve const& curve = engine();
    py::array_t<double> values(curve.keyframeCountAll());
    double* out = values.mutable_data();
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        out[i] = curve.value(i);
    }
    return values;
}

void TpyCurve::setInfinity(bool pre, TparamCurveEnums::TinfinityType type)
{
    TparamCurve& curve = engine();
    if ((pre ? curve.preInfinityType() : curve.postInfinityType()) == type) {
        return;
    }
    bool const set = pre ? curve.setPreInfinityType(type) : curve.setPostInfinityType(type);
    requireAccepted(set, "the curve refused the infinity type (locked or vetoed)");
}

void TpyCurve::setWeighted(bool weighted)
{
    TparamCurve& curve = engine();
    if (curve.isWeighted() != weighted) {
        requireAccepted(curve.setIsWeighted(weighted), "the curve refused to change its weighting (locked or vetoed)");
    }
}

// --- Evaluation ---------------------------------------------------------------------------------

py::object TpyCurve::evaluate(py::handle time)
{
    if (py::isinstance<TanimTime>(time)) {
        return py::float_(engine().evaluate(TtimeValue(time.cast<TanimTime>())));
    }
    if (py::isinstance<py::str>(time) || py::isinstance<py::bytes>(time)) {
        throw py::type_error("a time is a number of seconds, keelanim.Ticks or an array of seconds, not a string");
    }
    if (py::isinstance<py::array>(time) || PySequence_Check(time.ptr()) != 0) {
        return evaluateArray(time);
    }
    return py::float_(evaluateScalar(time));
}

double TpyCurve::evaluateScalar(py::handle time)
{
    double const seconds = py::float_(py::reinterpret_borrow<py::object>(time));
    if (std::isnan(seconds)) {
        raiseValueError("the time is NaN");
    }
    return engine().evaluate(static_cast<float>(seconds));
}

py::array_t<double> TpyCurve::evaluateArray(py::handle times)
{
    using Tinput = py::array_t<double, py::array::c_style | py::array::forcecast>;
    Tinput const input = Tinput::ensure(times);
    if (!input) {
        throw py::type_error("times must be numbers of seconds");
    }
    double const* in = input.data();
    auto const count = static_cast<std::size_t>(input.size());
    for (std::size_t i = 0; i < count; ++i) {
        if (std::isnan(in[i])) {
            raiseValueError("time " + std::to_string(i) + " is NaN");
        }
    }
    py::array_t<double> values(std::vector<py::ssize_t>(input.shape(), input.shape() + input.ndim()));
    TparamCurve& curve = engine();
    TbakeGuard const guard(reachableCurves());
    py::gil_scoped_release const release;
    sampleCurve(curve, in, values.mutable_data(), count);
    return values;
}

std::pair<double, double> TpyCurve::keyRange() const
{
    TcurveSet const alone{fEntry};
    std::pair<double, double> range;
    if (!keyTimeRange(alone, range.first, range.second)) {
        raiseValueError("curve '" + fEntry.fName + "' has no keys: give start and end");
    }
    return range;
}

py::tuple TpyCurve::bake(std::optional<double> start, std::optional<double> end, double fps)
{
    if (!start || !end) {
        auto const [first, last] = keyRange();
        start = start.value_or(first);
        end = end.value_or(last);
    }
    std::size_t const count = bakeSampleCount(*start, *end, fps);
    py::array_t<double> times(static_cast<py::ssize_t>(count));
    py::array_t<double> values(static_cast<py::ssize_t>(count));
    double* t = times.mutable_data();
    double* v = values.mutable_data();
    TparamCurve& curve = engine();
    {
        TbakeGuard const guard(reachableCurves());
        py::gil_scoped_release const release;
        for (std::size_t i = 0; i < count; ++i) {
            t[i] = bakeTime(*start, double(i), fps);
        }
        sampleCurve(curve, t, v, count);
    }
    return py::make_tuple(std::move(times), std::move(values));
}

// --- Callbacks ----------------------------------------------------------------------------------

std::uint64_t TpyCurve::subscribe(py::function callback)
{
    static std::uint64_t lastId = 0;
    fListeners.push_back(std::make_unique<Tlistener>(*this, std::move(callback), ++lastId));
    return lastId;
}

bool TpyCurve::unsubscribe(std::uint64_t id)
{
    return std::erase_if(fListeners,
                         [id](std::unique_ptr<Tlistener> const& listener) { return listener->id() == id; }) != 0;
}

bool TpyCurve::subscribed(std::uint64_t id) const
{
    return std::any_of(fListeners.begin(), fListeners.end(),
                       [id](std::unique_ptr<Tlistener> const& listener) { return listener->id() == id; });
}
