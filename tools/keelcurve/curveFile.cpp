#include "curveFile.h"

#include "gltfAccess.h"
#include "outputFile.h"
#include "toolError.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <set>

namespace {

using Tjson = nlohmann::ordered_json;

template <class T> struct Tword {
    T fValue;
    char const* fWord;
};

constexpr std::array<Tword<TtangentType>, 18> kTangentWords{{
    {kTangentFixed, "fixed"},
    {kTangentLinear, "linear"},
    {kTangentFlat, "flat"},
    {kTangentSmooth, "smooth"},
    {kTangentStep, "step"},
    {kTangentSlow, "slow"},
    {kTangentFast, "fast"},
    {kTangentOldClamped, "oldClamped"},
    {kTangentSpline, "spline"},
    {kTangentClamped, "clamped"},
    {kTangentHermite, "hermite"},
    {kTangentBezier, "bezier"},
    {kTangentSine, "sine"},
    {kTangentParabolic, "parabolic"},
    {kTangentLog, "log"},
    {kTangentPlateau, "plateau"},
    {kTangentStepNext, "stepNext"},
    {kTangentAuto, "auto"},
}};

constexpr std::array<Tword<TparamCurveEnums::TinfinityType>, 5> kInfinityWords{{
    {TparamCurveEnums::kConstant, "constant"},
    {TparamCurveEnums::kLinear, "linear"},
    {TparamCurveEnums::kCycle, "cycle"},
    {TparamCurveEnums::kCycleRelative, "cycleRelative"},
    {TparamCurveEnums::kOscillate, "oscillate"},
}};

// The key flags that are the key's content (selection and hiding belong to
// the curve's slot; the forced-linear bit follows from the tangent types).
constexpr std::array<Tword<Tkeyframe::TflagBit>, 5> kFlagWords{{
    {Tkeyframe::kLockedBit, "locked"},
    {Tkeyframe::kTangentsLockedBit, "tangentsLocked"},
    {Tkeyframe::kWeightsLockedBit, "weightsLocked"},
    {Tkeyframe::kBreakdownBit, "breakdown"},
    {Tkeyframe::kTickDrawSpecialBit, "tickDrawSpecial"},
}};

// Doubles below this in magnitude round to a finite float: FLT_MAX plus half
// its last place. The shortest decimal of FLT_MAX itself lies above FLT_MAX.
double const kFloatRoundingLimit = double(FLT_MAX) + std::ldexp(1.0, 103);

constexpr char const* kFormatName = "keelcurve";
constexpr char const* kSecondsForm = "seconds";
constexpr char const* kTicksForm = "ticks";

template <class T, std::size_t N> char const* wordOf(std::array<Tword<T>, N> const& words, T value)
{
    for (Tword<T> const& word : words) {
        if (word.fValue == value) {
            return word.fWord;
        }
    }
    return nullptr;
}

// --- Writing ---------------------------------------------------------------------------

// The double nearest to the shortest decimal that reads back as `value`: the
// JSON writer then prints that short decimal rather than the float's long
// exact expansion.
double floatAsShortDouble(float value)
{
    std::array<char, 32> text{};
    auto const result = std::to_chars(text.data(), text.data() + text.size(), value);
    *result.ptr = '\0';
    return std::strtod(text.data(), nullptr);
}

// A plug-in's type has no word; its number is written so that the reader
// names it when it refuses it.
std::string tangentTypeText(TtangentType type)
{
    char const* word = wordOf(kTangentWords, type);
    return word != nullptr ? word : "type" + std::to_string(int(type));
}

Tjson tangentJson(float x, float y)
{
    return Tjson::array({floatAsShortDouble(x), floatAsShortDouble(y)});
}

// `withW`: the key of a rotation's Z channel also holds the quaternion's w.
Tjson keyJson(TparamCurve const& curve, Tkeyframe const& key, bool withW)
{
    Tjson json;
    if (curve.isAnimTimeCurve()) {
        json[kTicksForm] = key.animTime().ticks();
    } else {
        json["time"] = floatAsShortDouble(key.floatTime());
    }
    json["value"] = key.value();
    if (withW) {
        json["w"] = floatAsShortDouble(key.quatComponent());
    }
    json["inType"] = tangentTypeText(key.storedTanInType());
    json["outType"] = tangentTypeText(key.storedTanOutType());
    float x = 0.0f;
    float y = 0.0f;
    key.getTanIn(x, y);
    json["inTangent"] = tangentJson(x, y);
    key.getTanOut(x, y);
    json["outTangent"] = tangentJson(x, y);
    Tjson flags = Tjson::array();
    for (auto const& flag : kFlagWords) {
        if (key.flags().isSet(flag.fValue)) {
            flags.push_back(flag.fWord);
        }
    }
    json["flags"] = flags;
    return json;
}

Tjson targetJson(TcurveTarget const& target)
{
    return Tjson{{"animation", target.fAnimation},
                 {"node", target.fNode},
                 {"path", target.fPath},
                 {"component", target.fComponent}};
}

Tjson curveJson(TnamedCurve const& named)
{
    TparamCurve const& curve = *named.fCurve;
    Tjson json;
    json["name"] = named.fName;
    if (named.fTarget) {
        json["target"] = targetJson(*named.fTarget);
    }
    json["timeForm"] = curve.isAnimTimeCurve() ? kTicksForm : kSecondsForm;
    json["weighted"] = curve.isWeighted();
    json["preInfinity"] = infinityWord(curve.preInfinityType());
    json["postInfinity"] = infinityWord(curve.postInfinityType());
    if (named.fRotation != nullptr) {
        json["rotation"] = Tjson{{"triple", named.fRotation->fName},
                                 {"axis", kAxisWords[named.fAxis]},
                                 {"mode", rotationModeWord(curve.rotationInterpolation())}};
    }
    bool const withW = named.fRotation != nullptr && named.fAxis == 2;
    Tjson keys = Tjson::array();
    for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
        keys.push_back(keyJson(curve, *curve.keyframe(i), withW));
    }
    json["keys"] = std::move(keys);
    return json;
}

// --- Reading ---------------------------------------------------------------------------

// Reads one document, failing with the JSON pointer of what is wrong.
class TcurveReader {
public:
    explicit TcurveReader(std::string fileName) : fFile(std::move(fileName)) {}

    TcurveSet read(Tjson const& document)
    {
        expect(document.is_object(), "", "a curve file is a JSON object");
        auto const format = document.find("format");
        expect(format == document.end() || *format == kFormatName, "/format", "not a keelcurve curve file");
        Tjson const& version = member(document, "", "version");
        expect(version.is_number_integer() && version.get<std::int64_t>() == kCurveFormatVersion, "/version",
               "unsupported version (this tool reads version " + std::to_string(kCurveFormatVersion) + ")");
        Tjson const& curves = member(document, "", "curves");
        expect(curves.is_array(), "/curves", "expected an array");
        TcurveSet set;
        std::set<std::string> names;
        for (std::size_t i = 0; i < curves.size(); ++i) {
            std::string const path = "/curves/" + std::to_string(i);
            set.push_back(readCurve(curves[i], path));
            expect(names.insert(set.back().fName).second, path + "/name",
                   "a second curve named '" + set.back().fName + "'");
            expect(!targetTaken(set), path + "/target", "a second curve for the same glTF target");
        }
        linkTriples(set);
        return set;
    }

private:
    // A rotation channel as the file names it, until its triple is linked.
    struct TpendingChannel {
        std::string fTriple;
        int fAxis = -1;
        TparamCurveEnums::TrotationInterpolation fMode = TparamCurveEnums::kEulerAngles;
        std::string fPath;
    };

    // Links the curves that name one triple: an X, a Y and a Z, keyed at
    // the same times, in one mode.
    void linkTriples(TcurveSet& set) const
    {
        std::map<std::string, std::array<std::size_t, 3>> triples;
        for (std::size_t i = 0; i < set.size(); ++i) {
            TpendingChannel const& channel = fPending[i];
            if (channel.fAxis < 0) {
                continue;
            }
            auto [entry, fresh] = triples.try_emplace(channel.fTriple, std::array<std::size_t, 3>{kNone, kNone, kNone});
            std::size_t& slot = entry->second[std::size_t(channel.fAxis)];
            expect(slot == kNone, channel.fPath + "/axis",
                   std::string("a second ") + kAxisWords[channel.fAxis] + " channel of rotation '" + channel.fTriple +
                       "'");
            slot = i;
        }
        for (auto const& [name, slots] : triples) {
            for (int axis = 0; axis < 3; ++axis) {
                expect(slots[std::size_t(axis)] != kNone, fPending[*std::min_element(slots.begin(), slots.end())].fPath,
                       "rotation '" + name + "' has no " + kAxisWords[axis] + " channel");
            }
            TnamedCurve* const channels[3] = {&set[slots[0]], &set[slots[1]], &set[slots[2]]};
            TpendingChannel const& first = fPending[slots[0]];
            for (std::size_t slot : slots) {
                expect(fPending[slot].fMode == first.fMode, fPending[slot].fPath + "/mode",
                       "the channels of rotation '" + name + "' differ in mode");
            }
            expect(linkRotation(channels, name, first.fMode), fPending[slots[1]].fPath + "/keys",
                   "the channels of rotation '" + name + "' are not keyed at the same times");
        }
    }

    TpendingChannel readRotation(Tjson const& json, std::string const& path) const
    {
        expect(json.is_object(), path, "a rotation is an object");
        TpendingChannel channel;
        channel.fPath = path;
        channel.fTriple = text(json, path, "triple");
        expect(!channel.fTriple.empty(), path + "/triple", "a rotation needs a name");
        std::string const axis = text(json, path, "axis");
        for (int a = 0; a < 3; ++a) {
            channel.fAxis = axis == kAxisWords[a] ? a : channel.fAxis;
        }
        expect(channel.fAxis >= 0, path + "/axis", "unknown axis '" + axis + "'");
        std::string const mode = text(json, path, "mode");
        expect(rotationModeOfWord(mode, channel.fMode), path + "/mode", "unknown rotation mode '" + mode + "'");
        return channel;
    }

    // Whether the last curve's target is the target of an earlier one.
    static bool targetTaken(TcurveSet const& set)
    {
        auto const& target = set.back().fTarget;
        return target && std::any_of(set.begin(), set.end() - 1,
                                     [&target](TnamedCurve const& named) { return named.fTarget == target; });
    }

    void expect(bool condition, std::string const& path, std::string const& what) const
    {
        if (!condition) {
            fail(fFile, path.empty() ? "/" : path, what);
        }
    }

    Tjson const& member(Tjson const& object, std::string const& path, char const* name) const
    {
        auto const found = object.find(name);
        expect(found != object.end(), path, std::string("missing member '") + name + "'");
        return *found;
    }

    std::string text(Tjson const& object, std::string const& path, char const* name) const
    {
        Tjson const& value = member(object, path, name);
        expect(value.is_string(), path + "/" + name, "expected a string");
        return value.get<std::string>();
    }

    double finite(Tjson const& value, std::string const& path) const
    {
        expect(value.is_number(), path, "expected a number");
        double const number = value.get<double>();
        expect(std::isfinite(number), path, "not a finite number");
        return number;
    }

    float single(Tjson const& value, std::string const& path) const
    {
        double const number = finite(value, path);
        expect(std::fabs(number) < kFloatRoundingLimit, path, "beyond the range of a float");
        return static_cast<float>(number);
    }

    template <class T, std::size_t N>
    T word(std::array<Tword<T>, N> const& words, Tjson const& object, std::string const& path, char const* name,
           char const* what) const
    {
        std::string const given = text(object, path, name);
        for (Tword<T> const& entry : words) {
            if (given == entry.fWord) {
                return entry.fValue;
            }
        }
        fail(fFile, path + "/" + name, std::string("unknown ") + what + " '" + given + "'");
    }

    void readTangent(Tjson const& key, std::string const& path, char const* name, float& x, float& y) const
    {
        Tjson const& pair = member(key, path, name);
        std::string const here = path + "/" + name;
        expect(pair.is_array() && pair.size() == 2, here, "expected [time, value]");
        x = single(pair[0], here + "/0");
        y = single(pair[1], here + "/1");
        expect(x >= 0.0f, here + "/0", "a tangent never points backwards in time");
    }

    TbitField64 readFlags(Tjson const& key, std::string const& path, TbitField64 flags) const
    {
        Tjson const& list = member(key, path, "flags");
        expect(list.is_array(), path + "/flags", "expected an array of words");
        for (auto const& flag : kFlagWords) {
            flags.clear(flag.fValue);
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            std::string const here = path + "/flags/" + std::to_string(i);
            expect(list[i].is_string(), here, "expected a word");
            char const* known = nullptr;
            for (auto const& flag : kFlagWords) {
                if (list[i].get<std::string>() == flag.fWord) {
                    flags.set(flag.fValue);
                    known = flag.fWord;
                }
            }
            expect(known != nullptr, here, "unknown key flag '" + list[i].get<std::string>() + "'");
        }
        return flags;
    }

    // `withW`: the key of a rotation's Z channel, which holds w as well.
    std::unique_ptr<Tkeyframe> readKey(Tjson const& json, std::string const& path, bool ticks, bool withW) const
    {
        expect(json.is_object(), path, "a key is an object");
        double const value = finite(member(json, path, "value"), path + "/value");
        TtangentType const in = word(kTangentWords, json, path, "inType", "tangent type");
        TtangentType const out = word(kTangentWords, json, path, "outType", "tangent type");
        std::unique_ptr<Tkeyframe> key;
        if (ticks) {
            Tjson const& time = member(json, path, kTicksForm);
            expect(time.is_number_integer() && time.get<std::int64_t>() >= std::numeric_limits<std::int32_t>::min() &&
                       time.get<std::int64_t>() <= std::numeric_limits<std::int32_t>::max(),
                   path + "/ticks", "expected a 32-bit integer");
            key = std::make_unique<Tkeyframe>(TanimTime::fromTicks(time.get<std::int32_t>()), value, in, out);
        } else {
            float const time = single(member(json, path, "time"), path + "/time");
            key = std::make_unique<Tkeyframe>(time, value, in, out);
        }
        if (withW) {
            float const w = single(member(json, path, "w"), path + "/w");
            key->setTimeAndValue(key->timeValue(), value, w);
        }
        float x = 0.0f;
        float y = 0.0f;
        readTangent(json, path, "inTangent", x, y);
        key->setTanIn(x, y);
        readTangent(json, path, "outTangent", x, y);
        key->setTanOut(x, y);
        key->setFlags(readFlags(json, path, key->flags()));
        return key;
    }

    TcurveTarget readTarget(Tjson const& json, std::string const& path) const
    {
        expect(json.is_object(), path, "a target is an object");
        TcurveTarget target;
        target.fAnimation = text(json, path, "animation");
        target.fNode = text(json, path, "node");
        target.fPath = text(json, path, "path");
        int const components = gltfPathComponents(target.fPath);
        expect(components != 0 || target.fPath == kWeightsPath, path + "/path",
               "unknown glTF path '" + target.fPath + "'");
        std::int64_t const limit = components != 0 ? components : kMaxMorphWeights;
        Tjson const& component = member(json, path, "component");
        expect(component.is_number_integer() && component.get<std::int64_t>() >= 0 &&
                   component.get<std::int64_t>() < limit,
               path + "/component", "expected a component index below " + std::to_string(limit));
        target.fComponent = component.get<int>();
        return target;
    }

    // Keys must come in strictly increasing time, further apart than the
    // engine's time tolerance (closer keys are the same key to it).
    void expectAfter(Tkeyframe const& previous, Tkeyframe const& key, std::string const& path) const
    {
        double const gap = key.seconds() - previous.seconds();
        bool const sameTime =
            key.isTickTime() ? key.animTime() == previous.animTime() : std::fabs(gap) < kTimeTolerance;
        expect(!sameTime, path, "duplicate key time");
        expect(gap > 0.0, path, "key times are not increasing");
    }

    TnamedCurve readCurve(Tjson const& json, std::string const& path)
    {
        expect(json.is_object(), path, "a curve is an object");
        TnamedCurve named;
        named.fName = text(json, path, "name");
        expect(!named.fName.empty(), path + "/name", "a curve needs a name");
        if (json.contains("target")) {
            named.fTarget = readTarget(json["target"], path + "/target");
        }
        std::string const form = text(json, path, "timeForm");
        expect(form == kSecondsForm || form == kTicksForm, path + "/timeForm", "unknown time form '" + form + "'");
        Tjson const& weighted = member(json, path, "weighted");
        expect(weighted.is_boolean(), path + "/weighted", "expected true or false");
        auto const pre = word(kInfinityWords, json, path, "preInfinity", "infinity type");
        auto const post = word(kInfinityWords, json, path, "postInfinity", "infinity type");
        Tjson const& keys = member(json, path, "keys");
        expect(keys.is_array(), path + "/keys", "expected an array");
        fPending.push_back(json.contains("rotation") ? readRotation(json["rotation"], path + "/rotation")
                                                     : TpendingChannel{});
        bool const withW = fPending.back().fAxis == 2;

        std::vector<std::unique_ptr<Tkeyframe>> owned;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            std::string const here = path + "/keys/" + std::to_string(i);
            owned.push_back(readKey(keys[i], here, form == kTicksForm, withW));
            if (i > 0) {
                expectAfter(*owned[i - 1], *owned[i], here);
            }
        }
        named.fCurve = std::make_shared<TparamCurve>(form == kSecondsForm);
        TparamCurve& curve = *named.fCurve;
        curve.setCurveFlag(TparamCurve::kWeightedBit, weighted.get<bool>());
        curve.setPreInfinityType(pre);
        curve.setPostInfinityType(post);
        installKeys(curve, owned, path);
        return named;
    }

    // The keys go in as they are written, tangents included: inserting them
    // one by one would re-derive the tangents of computed types.
    void installKeys(TparamCurve& curve, std::vector<std::unique_ptr<Tkeyframe>>& owned, std::string const& path) const
    {
        TkeyframePtrList keys;
        for (auto const& key : owned) {
            keys.addLast(key.get());
        }
        expect(curve.swapKeyframes(keys), path + "/keys", "the engine refused the keys");
        for (auto& key : owned) {
            static_cast<void>(key.release());  // the curve owns them now
        }
        // The curve started static and empty; a swap does not re-judge that.
        for (unsigned i = 0; i < curve.keyframeCountAll(); ++i) {
            curve.checkStaticValueCondition(i);
            if (curve.isStatic()) {
                curve.checkStaticTanCondition(i);
            }
        }
    }

    static constexpr std::size_t kNone = ~std::size_t(0);

    std::string fFile;
    // The rotation each curve read names, by curve.
    std::vector<TpendingChannel> fPending;
};

// Line and column (both from 1) of a byte offset, for syntax errors.
std::string lineAndColumn(std::string const& text, std::size_t offset)
{
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// A number too large for a double stops the parser without a position; its
// message quotes the number, whose first appearance is the place.
std::string placeOfToken(std::string const& text, std::string const& message)
{
    std::size_t const open = message.find('\'');
    std::size_t const close = message.rfind('\'');
    if (open == std::string::npos || close <= open + 1) {
        return "";
    }
    std::size_t const at = text.find(message.substr(open + 1, close - open - 1));
    return at == std::string::npos ? "" : lineAndColumn(text, at);
}

// nlohmann's message without its "[json.exception...]" tag and, for syntax
// errors, without the "parse error at line L, column C:" that the tool
// words itself.
std::string syntaxProblem(nlohmann::json::exception const& error)
{
    std::string message = error.what();
    std::size_t const tagEnd = message.find("] ");
    if (message.starts_with("[") && tagEnd != std::string::npos) {
        message.erase(0, tagEnd + 2);
    }
    std::size_t const colon = message.find(": ");
    if (message.starts_with("parse error") && colon != std::string::npos) {
        message.erase(0, colon + 2);
    }
    return message;
}

}  // namespace

char const* tangentTypeWord(TtangentType type)
{
    return wordOf(kTangentWords, type);
}

char const* infinityWord(TparamCurveEnums::TinfinityType type)
{
    return wordOf(kInfinityWords, type);
}

std::string curvesToText(TcurveSet const& curves)
{
    Tjson document;
    document["format"] = kFormatName;
    document["version"] = kCurveFormatVersion;
    Tjson list = Tjson::array();
    for (TnamedCurve const& named : curves) {
        list.push_back(curveJson(named));
    }
    document["curves"] = std::move(list);
    return document.dump(2) + "\n";
}

TcurveSet curvesFromText(std::string const& text, std::string const& fileName)
{
    Tjson document;
    try {
        document = Tjson::parse(text);
    } catch (nlohmann::json::parse_error const& error) {
        std::size_t const offset = error.byte > 0 ? error.byte - 1 : 0;
        fail(fileName, lineAndColumn(text, offset), syntaxProblem(error));
    } catch (nlohmann::json::out_of_range const& error) {
        fail(fileName, placeOfToken(text, error.what()), syntaxProblem(error));
    }
    return TcurveReader(fileName).read(document);
}

TcurveSet readCurveFile(std::string const& path)
{
    return curvesFromText(readWholeFile(path), path);
}

void writeCurveFile(std::string const& path, TcurveSet const& curves)
{
    writeFileWhole(path, curvesToText(curves));
}
