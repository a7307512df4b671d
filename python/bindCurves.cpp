// keelanim.Key, Keys, Curve, Change and Subscription.

#include "bindings.h"
#include "pyCurve.h"
#include "pyTimeForm.h"

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// curve.keys: a live view of a curve's keys in time order.
struct TpyKeys {
    std::shared_ptr<TpyCurve> fCurve;

    std::vector<TpyKey> all() const
    {
        std::vector<TpyKey> keys;
        for (unsigned i = 0; i < fCurve->keyCount(); ++i) {
            keys.push_back(fCurve->key(i));
        }
        return keys;
    }
};

// What Curve.on_change answers: cancel() (or leaving its with block) stops
// the callbacks.
struct TpySubscription {
    std::weak_ptr<TpyCurve> fCurve;
    std::uint64_t fId = 0;

    bool active() const
    {
        std::shared_ptr<TpyCurve> curve = fCurve.lock();
        return curve != nullptr && curve->subscribed(fId);
    }
    bool cancel() const
    {
        std::shared_ptr<TpyCurve> curve = fCurve.lock();
        return curve != nullptr && curve->unsubscribe(fId);
    }
};

char const* const kTimeDoc = "The key's time in seconds (exact ticks for TICKS curves through .ticks). Setting it "
                             "moves the key (ValueError when another key lies there).";

void bindKey(py::module_& module)
{
    using Tbit = Tkeyframe::TflagBit;
    auto flag = [](Tbit bit) { return py::cpp_function([bit](TpyKey const& key) { return key.flag(bit); }); };
    auto setFlag = [](Tbit bit) { return py::cpp_function([bit](TpyKey& key, bool on) { key.setFlag(bit, on); }); };
    py::class_<TpyKey>(module, "Key",
                       "A view of one key that follows it across re-indexing, removal and undo. Edits go through "
                       "the curve (undoable in a modification). ReferenceError once the curve is gone.")
        .def_property_readonly("curve", &TpyKey::curve, "The curve the key belongs to.")
        .def_property_readonly("present", &TpyKey::present, "Whether the key is on its curve now.")
        .def_property_readonly("index", &TpyKey::index, "The key's index, or None while it is not on its curve.")
        .def_property("time", &TpyKey::seconds, &TpyKey::setTime, kTimeDoc)
        .def_property_readonly("ticks", &TpyKey::ticks, "The key's time in ticks (nearest tick on a SECONDS curve).")
        .def_property("value", &TpyKey::value, &TpyKey::setValue, "The key's value.")
        .def_property(
            "in_type", &TpyKey::inType, [](TpyKey& key, TtangentType type) { key.setTypes(type, key.outType()); },
            "The in-tangent's type; setting it recomputes the tangents around the key.")
        .def_property(
            "out_type", &TpyKey::outType, [](TpyKey& key, TtangentType type) { key.setTypes(key.inType(), type); },
            "The out-tangent's type; it decides the span that starts at the key.")
        .def_property(
            "in_tangent", [](TpyKey const& key) { return key.tangent(true); },
            [](TpyKey& key, std::pair<float, float> v) { key.setTangent(true, v.first, v.second); },
            "(time, value) of the in-tangent: three times the Bezier handle. Setting it makes the side FIXED.")
        .def_property(
            "out_tangent", [](TpyKey const& key) { return key.tangent(false); },
            [](TpyKey& key, std::pair<float, float> v) { key.setTangent(false, v.first, v.second); },
            "(time, value) of the out-tangent: three times the Bezier handle. Setting it makes the side FIXED.")
        .def_property("breakdown", flag(Tkeyframe::kBreakdownBit), setFlag(Tkeyframe::kBreakdownBit),
                      "Whether the key is a breakdown key.")
        .def_property("locked", flag(Tkeyframe::kLockedBit), setFlag(Tkeyframe::kLockedBit),
                      "Whether the key is locked.")
        .def_property("tangents_locked", flag(Tkeyframe::kTangentsLockedBit), setFlag(Tkeyframe::kTangentsLockedBit),
                      "Whether the in- and out-tangent move together.")
        .def_property("weights_locked", flag(Tkeyframe::kWeightsLockedBit), setFlag(Tkeyframe::kWeightsLockedBit),
                      "Whether the tangents keep their weights when dragged.")
        .def("__eq__", [](TpyKey const& a, TpyKey const& b) { return a.sameKey(b); })
        .def("__repr__", &TpyKey::repr);
}

void bindKeys(py::module_& module)
{
    py::class_<TpyKeys>(module, "Keys", "The keys of a curve in time order: len(), indexing, slicing, iteration.")
        .def("__len__", [](TpyKeys const& keys) { return keys.fCurve->keyCount(); })
        .def(
            "__getitem__",
            [](TpyKeys const& keys, std::int64_t index) { return keys.fCurve->key(keys.fCurve->keyIndex(index)); },
            py::arg("index"))
        .def(
            "__getitem__",
            [](TpyKeys const& keys, py::slice const& slice) {
                std::vector<TpyKey> const all = keys.all();
                py::list picked;
                for (py::handle key : py::cast(all)[slice]) {
                    picked.append(key);
                }
                return picked;
            },
            py::arg("slice"))
        .def(
            "__iter__", [](TpyKeys const& keys) { return py::iter(py::cast(keys.all())); },
            "Iterates over views of the keys as they are when iteration begins.")
        .def_property_readonly(
            "times", [](TpyKeys const& keys) { return keys.fCurve->keyTimes(); }, "Every key's time in seconds.")
        .def_property_readonly(
            "values", [](TpyKeys const& keys) { return keys.fCurve->keyValues(); }, "Every key's value.")
        .def("__repr__", [](TpyKeys const& keys) {
            return "<keelanim.Keys: " + std::to_string(keys.fCurve->keyCount()) + " keys>";
        });
}

void bindChanges(py::module_& module)
{
    py::class_<TpyChange>(module, "Change", "One change a curve announced to its change callbacks.")
        .def_readonly("kind", &TpyChange::fKind, "What changed.")
        .def_readonly("curve", &TpyChange::fCurve, "The curve that changed.")
        .def_readonly("key", &TpyChange::fKey, "The key concerned while it is on the curve, else None.")
        .def("__repr__", [](TpyChange const& change) {
            return "<keelanim.Change " + py::str(py::cast(change.fKind)).cast<std::string>() + ">";
        });
    py::class_<TpySubscription>(module, "Subscription",
                                "A change callback's registration; cancel() or the end of a with block stops it.")
        .def_property_readonly("active", &TpySubscription::active, "Whether the callback is still called.")
        .def("cancel", &TpySubscription::cancel, "Stops the callbacks; False when they had stopped already.")
        .def("__enter__", [](TpySubscription const& subscription) { return subscription; })
        .def("__exit__", [](TpySubscription const& subscription, py::args const&) { subscription.cancel(); });
}

std::string curveRepr(TpyCurve const& curve)
{
    TparamCurve const& engine = curve.engine();
    return "keelanim.Curve(" + py::repr(py::str(curve.name())).cast<std::string>() + ", " +
           std::to_string(engine.keyframeCountAll()) + " keys, " + (engine.isFloatCurve() ? "seconds" : "ticks") + ")";
}

std::shared_ptr<TpyCurve> copyOf(TpyCurve const& curve)
{
    TnamedCurve entry(curve.name(), curve.entry().fTarget, std::make_shared<TparamCurve>(curve.engine()));
    return std::make_shared<TpyCurve>(std::move(entry));
}

void bindCurveKeys(py::class_<TpyCurve, std::shared_ptr<TpyCurve>>& curve)
{
    auto const defaultType = py::arg_v("in_type", kTangentGlobal, "TangentType.GLOBAL");
    curve
        .def_property_readonly(
            "keys", [](std::shared_ptr<TpyCurve> const& self) { return TpyKeys{self}; },
            "The keys in time order (a live view).")
        .def("add", &TpyCurve::add, py::arg("time"), py::arg("value"), defaultType,
             py::arg_v("out_type", kTangentGlobal, "TangentType.GLOBAL"),
             "Adds a key at a time (seconds or Ticks) and answers it; a key already there takes the new data.")
        .def("insert", &TpyCurve::insert, py::arg("time"), py::arg("value") = py::none(), defaultType,
             py::arg_v("out_type", kTangentGlobal, "TangentType.GLOBAL"),
             "Inserts a new key and answers it; without a value it keeps the curve's shape. ValueError where a "
             "key lies already.")
        .def(
            "remove", [](TpyCurve& self, std::int64_t index) { self.remove(self.keyIndex(index)); }, py::arg("index"),
            "Removes the key at an index (negative counts from the end).")
        .def(
            "remove",
            [](TpyCurve& self, TpyKey const& key) {
                if (key.curve().get() != &self || !key.index()) {
                    raiseValueError("the key is not on this curve");
                }
                self.remove(*key.index());
            },
            py::arg("key"), "Removes a key given by its view.")
        .def("key_at", &TpyCurve::keyAt, py::arg("time"),
             "The key at a time (within 1e-5 s, or the same tick), or None.");
}

void bindCurveSettings(py::class_<TpyCurve, std::shared_ptr<TpyCurve>>& curve)
{
    curve
        .def_property(
            "name", &TpyCurve::name, [](TpyCurve& self, std::string name) { self.setName(std::move(name)); },
            "The curve's name, as files and plots know it.")
        .def_property_readonly(
            "time_form",
            [](TpyCurve const& self) {
                return self.engine().isFloatCurve() ? TpyTimeForm::kSeconds : TpyTimeForm::kTicks;
            },
            "How the curve stores key times.")
        .def_property(
            "pre_infinity", [](TpyCurve const& self) { return self.engine().preInfinityType(); },
            [](TpyCurve& self, TparamCurveEnums::TinfinityType type) { self.setInfinity(true, type); },
            "How the curve goes on before its first key.")
        .def_property(
            "post_infinity", [](TpyCurve const& self) { return self.engine().postInfinityType(); },
            [](TpyCurve& self, TparamCurveEnums::TinfinityType type) { self.setInfinity(false, type); },
            "How the curve goes on after its last key.")
        .def_property(
            "weighted", [](TpyCurve const& self) { return self.engine().isWeighted(); }, &TpyCurve::setWeighted,
            "Whether spans are weighted Bezier spans (else Hermite); changing it converts the tangents.")
        .def_property_readonly(
            "is_static", [](TpyCurve const& self) { return self.engine().isStatic(); },
            "Whether every key has the same value.")
        .def_property_readonly(
            "rotation_axis",
            [](TpyCurve const& self) -> std::optional<std::string> {
                if (self.entry().fRotation == nullptr) {
                    return std::nullopt;
                }
                return kAxisWords[self.entry().fAxis];
            },
            "'x', 'y' or 'z' for a channel of a rotation triple, else None.")
        .def_property_readonly(
            "rotation_mode",
            [](TpyCurve const& self) -> std::optional<TparamCurveEnums::TrotationInterpolation> {
                if (self.entry().fRotation == nullptr) {
                    return std::nullopt;
                }
                return self.engine().rotationInterpolation();
            },
            "How a rotation triple's channel is interpolated, else None.");
}

void bindCurveUse(py::class_<TpyCurve, std::shared_ptr<TpyCurve>>& curve)
{
    curve
        .def("evaluate", &TpyCurve::evaluate, py::arg("time"),
             "The value at a time: a float of seconds or Ticks gives a float, an array (or sequence) of seconds "
             "an array of its shape. ValueError for NaN.")
        .def("bake", &TpyCurve::bake, py::arg("start") = py::none(), py::arg("end") = py::none(), py::arg("fps") = 24.0,
             "(times, values) as float64 arrays, sampled at fps from start to end (the first and last key by "
             "default), evaluated with the GIL released.")
        .def(
            "modification",
            [](py::object const& self) {
                auto& owner = self.cast<TpyCurve&>();
                return makeModification(self, owner.history(), owner.reachableCurves());
            },
            "A context manager recording the edits of this curve (and its rotation triple) as one undo step; "
            "'as' gives the UndoStep. An exception in the block undoes the step.")
        .def(
            "undo", [](TpyCurve& self) { return self.history().undo(); },
            "Undoes the last step of this curve's modifications; False when there is none.")
        .def(
            "redo", [](TpyCurve& self) { return self.history().redo(); },
            "Redoes the last undone step; False when there is none.")
        .def_property_readonly(
            "can_undo", [](TpyCurve& self) { return self.history().canUndo(); }, "Whether undo() has a step.")
        .def_property_readonly(
            "can_redo", [](TpyCurve& self) { return self.history().canRedo(); }, "Whether redo() has a step.")
        .def(
            "on_change",
            [](std::shared_ptr<TpyCurve> const& self, py::function callback) {
                return TpySubscription{self, self->subscribe(std::move(callback))};
            },
            py::arg("callback"),
            "Calls callback(change) for every change the curve announces; answers the Subscription. Exceptions "
            "it raises go to sys.unraisablehook. The curve holds the callback until it is cancelled.")
        .def("copy", &copyOf, "A new curve with copies of the keys and settings (no callbacks, history or triple).")
        .def("__copy__", &copyOf)
        .def("__deepcopy__", [](TpyCurve const& self, py::dict const&) { return copyOf(self); })
        .def("__repr__", &curveRepr);
}

}  // namespace

void bindCurves(py::module_& module)
{
    bindKey(module);
    bindKeys(module);
    bindChanges(module);
    py::class_<TpyCurve, std::shared_ptr<TpyCurve>> curve(
        module, "Curve", "An animation curve: keys in time order, evaluated between and beyond them.");
    curve.def(py::init([](std::string name, TpyTimeForm form) {
                  return TpyCurve::make(std::move(name), form == TpyTimeForm::kTicks);
              }),
              py::arg("name") = "", py::arg_v("time_form", TpyTimeForm::kSeconds, "TimeForm.SECONDS"),
              "An empty curve keeping times as float seconds or as ticks.");
    bindCurveKeys(curve);
    bindCurveSettings(curve);
    bindCurveUse(curve);
    bindEditing(module, curve);
}
