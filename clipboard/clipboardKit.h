#pragma once

#include "keelanim/clipboard/clipboard.h"
#include "keelanim/curve/paramCurve.h"
#include "keelanim/editing/pickKey.h"
#include "keelanim/editing/pickKeyDictionary.h"

#include <memory>

// What copy, cut and paste share: ranges, channels, scratch curves and the
// placing of copied keys.
namespace keel_clipboard {

// Whether [start, end] is a range this curve's copies and cuts accept:
// finite times of the curve's form, start not after end.
bool usableRange(TparamCurve const& curve, TtimeValue const& start, TtimeValue const& end);
// The indices of the first and last key inside [start, end]; false when
// no key lies there.
bool keysInRange(TparamCurve const& curve, TtimeValue const& start, TtimeValue const& end, unsigned& first,
                 unsigned& last);
// The curves a copy or cut of `curve` acts on: its rotation triple (3) or
// itself (1).
unsigned channelsOf(TparamCurve const& curve, TparamCurve* channels[3]);
// Whether these channels are a triple evaluated as a rotation.
bool isQuaternionTriple(TparamCurve* const* channels, unsigned count);
// The answer of a copy into `result`: `count` when keys were copied (a
// quaternion triple's then take their rotations from the triple of `x`),
// else 0 with the slots emptied.
unsigned finishCopy(bool copied, bool quaternion, TparamCurve& x, TparamCurve** result, unsigned count);
// Whether every curve accepts a change now (locks, the host's helpers).
// Each edit of a cut or paste then runs in a change of its own, so that
// each is recorded with the tangents it re-derives.
bool allAcceptChange(TparamCurve* const* curves, unsigned count);
// The curves a copy reads and the new clipboard curves it fills
// (TparamCurve::copyInit), and whether they are a quaternion triple.
struct TcopyChannels {
    TcopyChannels(TparamCurve& curve, TparamCurve** result);
    TparamCurve* fSources[3] = {};
    unsigned fCount = 0;
    bool fQuaternion = false;
};
// Deletes the curves in the three slots and nulls them.
void clearSlots(TparamCurve** slots);
// A copy of `source`'s keys and settings that stands alone: no host hooks,
// no locks, no clip mapping. Edits on it tell nobody but the depot.
std::unique_ptr<TparamCurve> scratchOf(TparamCurve const& source);
// A new curve of `source`'s time form, weighting, kind and rotation
// interpolation, without keys.
TparamCurve* emptyLike(TparamCurve const& source);
// A copy of key `index` carrying its host time.
Tkeyframe keyWithHostTime(TparamCurve const& curve, unsigned index);
// The key times `source` has inside [start, end] (ends included), with
// keys at both ends that keep the curve's shape when `withEnds`, go into
// `result`. Unless `whole`, the sides of the end keys facing into the
// range become fixed (linear with `quaternion`), stepped sides excepted.
// False when no key went in.
bool copyKeysBetween(TparamCurve const& source, TparamCurve& result, TtimeValue const& start, TtimeValue const& end,
                     bool withEnds, bool quaternion);
// The rotation components a quaternion triple's channel `axis` stores at
// `time`: the value, and the auxiliary component (w on Z).
void rotationComponents(TparamCurve& x, unsigned axis, TtimeValue const& time, double& value, double& aux);
// Writes the triple's rotation at each key time of the results' X curve
// into the three results (their keys must be in step).
void writeTripleRotations(TparamCurve& x, TparamCurve* const results[3]);

// Whether a pick names its whole key.
bool picksWholeKey(TpickKey const& pick);
// How picks are copied or cut: not at all, as the range [start, end] of a
// run of consecutive whole keys (a single pick included), or key by key.
enum class TpickRun { kNothing, kRange, kKeyByKey };
TpickRun readPicks(TparamCurve const& curve, TpickKeyDictionary const& picks, TtimeValue& start, TtimeValue& end);

}  // namespace keel_clipboard
