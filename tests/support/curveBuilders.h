#pragma once

#include <keelanim/keelanim.h>

#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// Small builders for tests: curves from (time, value) pairs.
namespace keeltest {

// Owns loose keys, for tests of the key containers (which never own theirs).
class TkeyPool {
public:
    Tkeyframe* seconds(float t)
    {
        fKeys.push_back(std::make_unique<Tkeyframe>(t, 0.0, kTangentFixed, kTangentFixed));
        return fKeys.back().get();
    }
    Tkeyframe* ticks(int t)
    {
        fKeys.push_back(std::make_unique<Tkeyframe>(TanimTime::fromTicks(t), 0.0, kTangentFixed, kTangentFixed));
        return fKeys.back().get();
    }

private:
    std::vector<std::unique_ptr<Tkeyframe>> fKeys;
};

// A float curve with keys at (seconds, value), fixed tangents.
inline std::unique_ptr<TparamCurve> floatCurve(std::initializer_list<std::pair<float, double>> keys)
{
    auto curve = std::make_unique<TparamCurve>(true);
    for (auto const& [time, value] : keys) {
        curve->add(Tkeyframe(time, value, kTangentFixed, kTangentFixed));
    }
    return curve;
}

// An animTime curve with keys at (ticks, value), fixed tangents.
inline std::unique_ptr<TparamCurve> tickCurve(std::initializer_list<std::pair<int, double>> keys)
{
    auto curve = std::make_unique<TparamCurve>(false);
    for (auto const& [ticks, value] : keys) {
        curve->add(Tkeyframe(TanimTime::fromTicks(ticks), value, kTangentFixed, kTangentFixed));
    }
    return curve;
}

// Records every message a client hears, by type and kind.
class TmessageLog : public Tclient {
public:
    struct Entry {
        Tmetaclass* fType;
        int fKind;
        Tkeyframe const* fKey;
        unsigned fCurveCount;
    };
    std::vector<Entry> fEntries;

    static void heard(Tclient* client, TclientServer*, TserverMsg const& msg)
    {
        auto* log = static_cast<TmessageLog*>(client);
        Entry entry{msg.typeof(), -1, nullptr, 0};
        if (auto const* modified = keelCast<TparamCurveModifiedMsg>(&msg)) {
            entry.fKind = modified->type();
            entry.fKey = modified->handle() != nullptr ? modified->handle()->keyframe() : nullptr;
        } else if (auto const* addDelete = keelCast<TkeyframeAddDeleteMsg>(&msg)) {
            entry.fKind = addDelete->added() ? 1 : 0;
            entry.fKey = addDelete->key();
        } else if (auto const* changed = keelCast<TparamCurveChangedMsg>(&msg)) {
            entry.fCurveCount = changed->curves() != nullptr ? unsigned(changed->curves()->size()) : 0;
        } else if (auto const* helper = keelCast<TparamCurveHelperMsg>(&msg)) {
            entry.fKind = helper->kind();
        }
        log->fEntries.push_back(entry);
    }

    unsigned count(Tmetaclass* type) const
    {
        unsigned n = 0;
        for (Entry const& e : fEntries) {
            n += e.fType == type ? 1 : 0;
        }
        return n;
    }
};

// Everything undo must restore, as text: per key, time, value, tangents,
// types and flags other than selection; per curve, infinities and weighting.
inline std::string curveState(TparamCurve const& curve)
{
    std::ostringstream out;
    out.precision(17);
    out << curve.preInfinityType() << ' ' << curve.postInfinityType() << ' ' << curve.isWeighted() << '\n';
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        Tkeyframe const* key = curve.keyframe(i);
        float ix = 0, iy = 0, ox = 0, oy = 0;
        key->getTanIn(ix, iy);
        key->getTanOut(ox, oy);
        out << key->timeValue().rawSlot() << ' ' << key->value() << ' ' << ix << ' ' << iy << ' ' << ox << ' ' << oy
            << ' ' << key->storedTanInType() << ' ' << key->storedTanOutType() << ' '
            << (key->flags().word() & ~std::uint64_t(kPickPartsMask)) << ' ' << key->quatComponent() << '\n';
    }
    return out.str();
}

// Whether the curve's keys are strictly in time order.
inline bool keysInOrder(TparamCurve const& curve)
{
    for (unsigned i = 1; i < curve.keyframeCountAll(); ++i) {
        if (!(*curve.keyframe(i - 1) < *curve.keyframe(i))) {
            return false;
        }
    }
    return true;
}

}  // namespace keeltest
