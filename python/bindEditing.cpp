// Editing beyond single keys: selections, batch moves and scales, soft
// selection, retime, and the clipboard. Each edit is the engine's own, so it
// is recorded in a modification like any other.

#include "bindings.h"
#include "pyCurve.h"
#include "pyErrors.h"

#include <keelanim/keelanim.h>

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace {

// Handles to keys of `curve`, in time order; ValueError for a key of another
// curve or one no longer on it.
class TkeyHandles {
public:
    TkeyHandles(TpyCurve& curve, std::vector<TpyKey> const& keys)
    {
        TparamCurve& engine = curve.engine();
        std::vector<unsigned> indices;
        for (TpyKey const& key : keys) {
            std::optional<unsigned> const index = key.index();
            if (key.curve().get() != &curve || !index.has_value()) {
                raiseValueError("a key that is not on this curve");
            }
            indices.push_back(*index);
        }
        std::sort(indices.begin(), indices.end());
        indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
        for (unsigned index : indices) {
            fOwned.push_back(std::make_unique<TkeyframeHandle>(&engine, index, false));
            fHandles.addLast(fOwned.back().get());
        }
    }
    TkeyframeHandlePtrArray& handles() { return fHandles; }
    TkeyframeHandle* first() const { return fOwned.empty() ? nullptr : fOwned.front().get(); }
    TkeyframeHandle* last() const { return fOwned.empty() ? nullptr : fOwned.back().get(); }

private:
    std::vector<std::unique_ptr<TkeyframeHandle>> fOwned;
    TkeyframeHandlePtrArray fHandles;
};

// A change of `dt` seconds in the curve's form.
TtimeValue timeChangeOf(TpyCurve const& curve, double dt)
{
    requireFinite(dt, "time change");
    return curve.engine().isAnimTimeCurve() ? TtimeValue(TanimTime(dt, kSeconds)) : TtimeValue(static_cast<float>(dt));
}

void moveKeys(TpyCurve& curve, std::vector<TpyKey> const& keys, TtimeValueChangeFn const& change,
              TparamCurveEnums::TmoveOption option)
{
    TkeyHandles run(curve, keys);
    TparamCurve& engine = curve.engine();
    TtimeValueArray oldTimes;
    engine.beginMoveKeys(run.handles());
    bool const moved = engine.moveKeys(run.handles(), oldTimes, change, option, true);
    engine.endMoveKeys();
    requireAccepted(moved || keys.empty(), "the curve refused the move (locked, vetoed or keys would meet)");
}

void moveBy(TpyCurve& curve, std::vector<TpyKey> const& keys, double dt, double dv,
            TparamCurveEnums::TmoveOption option)
{
    requireFinite(dv, "value change");
    moveKeys(curve, keys, TtimeValueChangeFn(timeChangeOf(curve, dt), dv), option);
}

void moveWithFalloff(TpyCurve& curve, std::vector<TpyKey> const& keys, TpyKey const& grabbed, double dt, double dv,
                     TfalloffFn::TfalloffFnType type)
{
    requireFinite(dv, "value change");
    TfalloffFn falloff;
    falloff.setTimeChange(timeChangeOf(curve, dt));
    falloff.setValueChange(dv);
    falloff.setFalloffType(type);
    for (TpyKey const& key : keys) {
        if (key.present()) {
            falloff.addKeyframeDist(curve.engine().keyframe(key.index().value_or(0)),
                                    std::fabs(key.seconds() - grabbed.seconds()));
        }
    }
    moveKeys(curve, keys, falloff, TparamCurveEnums::kMoveBetweenNeighbours);
}

void scaleKeys(TpyCurve& curve, std::vector<TpyKey> const& keys, double timeScale, double timePivot, double valueScale,
               double valuePivot)
{
    TkeyHandles run(curve, keys);
    if (run.first() == nullptr) {
        return;
    }
    requireAccepted(curve.engine().scaleTimeAndValue(run.handles(), static_cast<float>(timeScale),
                                                     static_cast<float>(timePivot), static_cast<float>(valueScale),
                                                     valuePivot),
                    "the curve refused the scale (a zero or non-finite scale, locks, or keys that would meet)");
}

void scaleRegion(TpyCurve& curve, TpyTime const& oldStart, TpyTime const& oldEnd, TpyTime const& newStart,
                 TpyTime const& newEnd)
{
    bool const ticks = curve.engine().isAnimTimeCurve();
    TtimeValue const start = storedTimeOf(oldStart, ticks);
    requireAccepted(curve.engine().scaleRegion(start, storedTimeOf(oldEnd, ticks), storedTimeOf(newStart, ticks),
                                               storedTimeOf(newEnd, ticks), start),
                    "the curve refused the region scale (locks, or keys that would meet)");
}

// The region's keys scaled about `pivot`, the keys after them rippled by
// `rippleOffset` seconds.
void retime(TpyCurve& curve, std::vector<TpyKey> const& region, double scale, TpyTime const& pivot, double rippleOffset)
{
    requireFinite(rippleOffset, "ripple offset");
    TparamCurve& engine = curve.engine();
    TpickKeyList picked;
    TpickKeyList ripple;
    TpickKeyList const none;
    unsigned last = 0;
    for (TpyKey const& key : region) {
        std::optional<unsigned> const index = key.index();
        if (key.curve().get() != &curve || !index.has_value()) {
            raiseValueError("a key that is not on this curve");
        }
        TpickKey pick;
        pick.create(&engine, *index, TbitField32(kPickKeyMask), false, true);
        picked.insert(engine.timeValue(*index), pick);
        last = std::max(last, *index);
    }
    for (unsigned i = last + 1; !region.empty() && i < engine.keyframeCountAll(); ++i) {
        TpickKey pick;
        pick.create(&engine, i, TbitField32(kPickKeyMask), false, true);
        ripple.insert(engine.timeValue(i), pick);
    }
    requireAccepted(
        engine.retimeRegions(picked, none, ripple, static_cast<float>(scale), 1.0f, static_cast<float>(rippleOffset),
                             storedTimeOf(pivot, engine.isAnimTimeCurve()), TtimeValue()),
        "the curve refused the retime (a zero or non-finite scale, locks, or keys that would meet or pass)");
}

// keelanim.Selection: picked keys or tangents of one curve, with the set
// operations of the engine's pick lists. It keeps the curve alive.
struct TpySelection {
    std::shared_ptr<TpyCurve> fCurve;
    std::shared_ptr<TpickKeyList> fPicks = std::make_shared<TpickKeyList>();

    // `part` names a bit of the pick's flag word (TpickKey::TpickBits).
    void add(TpyKey const& key, int part)
    {
        std::optional<unsigned> const index = key.index();
        if (key.curve() != fCurve || !index.has_value()) {
            raiseValueError("a key that is not on the selection's curve");
        }
        TpickKey pick;
        pick.create(&fCurve->engine(), *index, TbitField32(1u << static_cast<unsigned>(part)), true, true);
        // A key picked already takes the new part; a new key comes in whole.
        if (!fPicks->merge(pick)) {
            fPicks->insert(fCurve->engine().timeValue(*index), pick);
        }
    }
    std::vector<TpyKey> keys() const
    {
        std::vector<TpyKey> out;
        TparamCurve& engine = fCurve->engine();
        for (TpickKeyDictionaryNode* node = fPicks->first(); node != nullptr; node = node->next()) {
            TkeyframeHandle const* handle = node->pick().handle();
            if (!node->pick().isInactive() && handle != nullptr && engine.holdsKey(handle->keyframe())) {
                out.emplace_back(fCurve, handle->keyframe());
            }
        }
        return out;
    }
    TpySelection combined(TpySelection const& other, int how) const
    {
        if (other.fCurve != fCurve) {
            raiseValueError("selections of different curves");
        }
        TpySelection out{fCurve};
        if (how == 0) {
            out.fPicks->merge(*fPicks);
            out.fPicks->merge(*other.fPicks);
        } else if (how == 1) {
            fPicks->getIntersection(*other.fPicks, *out.fPicks);
        } else {
            fPicks->getDifference(*other.fPicks, *out.fPicks);
        }
        return out;
    }
};

// keelanim.Clipboard: the curves of one copy or cut and the range copied.
struct TpyClipboard {
    TclipboardCurves fCurves;
};

std::pair<TtimeValue, TtimeValue> rangeOf(TpyCurve const& curve, TpyTime const& start, TpyTime const& end)
{
    bool const ticks = curve.engine().isAnimTimeCurve();
    return {storedTimeOf(start, ticks), storedTimeOf(end, ticks)};
}

unsigned paste(TpyClipboard const& clipboard, TpyCurve& curve, TpyTime const& start, std::optional<TpyTime> const& end,
               TparamCurve::TpasteOption option, unsigned repetitions, bool connect, double valueOffset,
               double valueScale)
{
    if (option == TparamCurve::kPasteUnhandled) {
        raiseValueError("paste option 1 does nothing");
    }
    if (clipboard.fCurves.empty()) {
        raiseValueError("the clipboard is empty");
    }
    if (clipboard.fCurves.curve(0)->isFloatCurve() != curve.engine().isFloatCurve()) {
        raiseValueError("the clipboard holds keys of the other time form");
    }
    requireFinite(valueOffset, "value offset");
    requireFinite(valueScale, "value scale");
    auto const [from, to] = rangeOf(curve, start, end.value_or(start));
    TpasteSettings settings;
    settings.fRepetitions = repetitions;
    settings.fConnect = connect;
    settings.fValueOffset = valueOffset;
    settings.fValueScale = valueScale;
    unsigned const pasted = clipboard.fCurves.pasteOnto(curve.engine(), from, to, option, settings);
    requireAccepted(pasted > 0, "the curve refused the paste (a scale or fit of an empty range, locks or a veto)");
    return pasted;
}

void bindEditingEnums(py::module_& module)
{
    py::enum_<TparamCurveEnums::TmoveOption>(module, "MoveOption", "What a move may do to the keys it does not move.")
        .value("BETWEEN_NEIGHBOURS", TparamCurveEnums::kMoveBetweenNeighbours)
        .value("REPLACE", TparamCurveEnums::kMoveReplace)
        .value("ANYWHERE", TparamCurveEnums::TmoveOption(5));
    py::enum_<TfalloffFn::TfalloffFnType>(module, "Falloff", "How a soft-selection move fades with distance.")
        .value("LINEAR", TfalloffFn::kLinearFalloff)
        .value("QUADRATIC", TfalloffFn::kQuadraticFalloff);
    py::enum_<TparamCurve::TcopyOption>(module, "CopyOption", "What a copy takes besides the keys inside the range.")
        .value("KEYS", TparamCurve::kCopyKeys)
        .value("WITH_RANGE_ENDS", TparamCurve::kCopyWithRangeEnds);
    py::enum_<TparamCurve::TcutOption>(module, "CutOption", "What a cut does to the keys after the range.")
        .value("KEYS", TparamCurve::kCutKeys)
        .value("CLOSE", TparamCurve::kCutAndClose)
        .value("JOIN", TparamCurve::kCutAndJoin)
        .value("RANGE", TparamCurve::kCutRange)
        .value("RANGE_CLOSE", TparamCurve::kCutRangeAndClose)
        .value("RANGE_JOIN", TparamCurve::kCutRangeAndJoin)
        .value("CLOSE_ON_KEYS", TparamCurve::kCutKeysAndCloseOnKeys);
    py::enum_<TparamCurve::TpasteOption>(module, "PasteOption", "How pasted keys meet the keys already there.")
        .value("INSERT", TparamCurve::kPasteInsert)
        .value("REPLACE", TparamCurve::kPasteReplace)
        .value("MERGE", TparamCurve::kPasteMerge)
        .value("SCALE_INSERT", TparamCurve::kPasteScaleInsert)
        .value("SCALE_REPLACE", TparamCurve::kPasteScaleReplace)
        .value("SCALE_MERGE", TparamCurve::kPasteScaleMerge)
        .value("FIT_INSERT", TparamCurve::kPasteFitInsert)
        .value("FIT_REPLACE", TparamCurve::kPasteFitReplace)
        .value("FIT_MERGE", TparamCurve::kPasteFitMerge);
}

}  // namespace

void bindEditing(py::module_& module, py::class_<TpyCurve, std::shared_ptr<TpyCurve>>& curve)
{
    bindEditingEnums(module);
    curve
        .def("move_keys", &moveBy, py::arg("keys"), py::arg("dt") = 0.0, py::arg("dv") = 0.0,
             py::arg_v("option", TparamCurveEnums::kMoveBetweenNeighbours, "MoveOption.BETWEEN_NEIGHBOURS"),
             "Moves the keys by dt seconds and dv in value as one batch (breakdowns follow). ValueError when the "
             "curve refuses.")
        .def("move_keys_with_falloff", &moveWithFalloff, py::arg("keys"), py::arg("grabbed"), py::arg("dt") = 0.0,
             py::arg("dv") = 0.0, py::arg_v("falloff", TfalloffFn::kLinearFalloff, "Falloff.LINEAR"),
             "A soft-selection drag: each key moves by the change weighted by its distance in time from the "
             "grabbed key (the farthest key does not move).")
        .def("scale_keys", &scaleKeys, py::arg("keys"), py::arg("time_scale"), py::arg("time_pivot") = 0.0,
             py::arg("value_scale") = 1.0, py::arg("value_pivot") = 0.0,
             "Scales the keys from the first to the last given in time about time_pivot (seconds) and in value "
             "about value_pivot; a negative time scale reverses them.")
        .def("scale_region", &scaleRegion, py::arg("old_start"), py::arg("old_end"), py::arg("new_start"),
             py::arg("new_end"),
             "Maps the keys of [old_start, old_end] onto [new_start, new_end]; the keys around shift clear.")
        .def("retime", &retime, py::arg("region"), py::arg("scale"), py::arg("pivot"), py::arg("ripple_offset"),
             "Scales the region's keys in time about the pivot and ripples every later key by ripple_offset "
             "seconds, keeping the curve's shape between keys.");

    py::enum_<TpickKey::TpickBits>(module, "Part", "Which part of a key a selection picks.")
        .value("KEY", TpickKey::kPickKey)
        .value("IN_TANGENT", TpickKey::kPickInTangent)
        .value("OUT_TANGENT", TpickKey::kPickOutTangent);
    py::class_<TpySelection>(module, "Selection",
                             "Picked keys or tangents of one curve: add(), len(), keys, and | & - between "
                             "selections of the same curve.")
        .def(py::init([](std::shared_ptr<TpyCurve> of) { return TpySelection{std::move(of)}; }), py::arg("curve"),
             "An empty selection of the curve's keys.")
        .def(
            "add", [](TpySelection& self, TpyKey const& key, TpickKey::TpickBits part) { self.add(key, part); },
            py::arg("key"), py::arg_v("part", TpickKey::kPickKey, "Part.KEY"),
            "Picks a key, or one of its tangents; a whole-key pick takes over its tangent picks.")
        .def("__len__", [](TpySelection const& self) { return self.keys().size(); })
        .def_property_readonly("keys", &TpySelection::keys, "The picked keys still on the curve, in time order.")
        .def_property_readonly(
            "curve", [](TpySelection const& self) { return self.fCurve; }, "The selection's curve.")
        .def("__or__", [](TpySelection const& a, TpySelection const& b) { return a.combined(b, 0); })
        .def("__and__", [](TpySelection const& a, TpySelection const& b) { return a.combined(b, 1); })
        .def("__sub__", [](TpySelection const& a, TpySelection const& b) { return a.combined(b, 2); });

    py::class_<TpyClipboard>(module, "Clipboard",
                             "The keys of one copy or cut (a rotation triple's three curves for a channel of one), "
                             "ready to paste.")
        .def(py::init<>())
        .def("__len__", [](TpyClipboard const& self) { return self.fCurves.count(); })
        .def(
            "copy",
            [](TpyClipboard& self, TpyCurve& from, TpyTime const& start, TpyTime const& end,
               TparamCurve::TcopyOption option) {
                auto const [a, b] = rangeOf(from, start, end);
                return self.fCurves.copyRange(from.engine(), a, b, option);
            },
            py::arg("curve"), py::arg("start"), py::arg("end"),
            py::arg_v("option", TparamCurve::kCopyKeys, "CopyOption.KEYS"),
            "Copies the keys of [start, end] (and, WITH_RANGE_ENDS, keys at the ends and beyond the keys); answers "
            "the number of clipboard curves, 0 when nothing was copied.")
        .def(
            "cut",
            [](TpyClipboard& self, TpyCurve& from, TpyTime const& start, TpyTime const& end,
               TparamCurve::TcutOption option) {
                auto const [a, b] = rangeOf(from, start, end);
                return self.fCurves.cutRange(from.engine(), a, b, option);
            },
            py::arg("curve"), py::arg("start"), py::arg("end"),
            py::arg_v("option", TparamCurve::kCutKeys, "CutOption.KEYS"),
            "Copies and removes the keys of [start, end] as the option says (undoable in a modification).")
        .def("paste", &paste, py::arg("curve"), py::arg("start"), py::arg("end") = py::none(),
             py::arg_v("option", TparamCurve::kPasteInsert, "PasteOption.INSERT"), py::arg("repetitions") = 1,
             py::arg("connect") = false, py::arg("value_offset") = 0.0, py::arg("value_scale") = 1.0,
             "Pastes the clipboard at start (scaled or fitted onto [start, end] by the SCALE_ and FIT_ options); "
             "answers the number of curves pasted. ValueError for an empty clipboard, keys of the other time form "
             "or a refusal.");
}
