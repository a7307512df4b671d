#pragma once

#include "keelanim/base/animTime.h"
#include "keelanim/base/array.h"
#include "keelanim/base/bitField.h"
#include "keelanim/base/clientServer.h"
#include "keelanim/base/export.h"
#include "keelanim/base/quaternion.h"
#include "keelanim/curve/paramCurveEnums.h"
#include "keelanim/keys/keyframe.h"
#include "keelanim/keys/keyframeArrays.h"
#include "keelanim/undo/delta.h"

#include <cstddef>
#include <cstdint>
#include <span>

class T2dAnimCurve;
class Tangle;
class TcurveEditKit;
class TcurveEvaluator;
class TevalCursor;
class TdebugOutput;
class TkeyframeHandle;
class TparamCurveMsgDepot;
class TbreakdownData;
class TcurveEditSession;
class TmoveKeyDataPtrList;
class TpickKeyDictionary;
class TpickKeyList;
class TretimeDistanceData;
class TrippleData;
class TtimeValueChangeFn;
struct TpasteSettings;
class TtangentJournal;
using TkeyframeHandlePtrArray = TtypedArray<TkeyframeHandle*>;
using TrippleDataPtrArray = TtypedArray<TrippleData*>;
using TretimeDistanceDataPtrArray = TtypedArray<TretimeDistanceData*>;
using TuInt32Array = TtypedArray<std::uint32_t>;

// TparamCurve: an animation curve, the owner of its keys.
//
// Keys are kept in ascending time order in exactly one sorted pointer array
// chosen at construction: float seconds (a float curve) or TanimTime ticks
// (an animTime curve). Index i always means the i-th key of that array. The
// curve owns its keys; nothing else does.
//
// Every mutation runs inside the change bracket: beginChange(mask) may refuse
// (a locked channel, or a veto by the host's helpers), and the operation then
// does nothing and answers false. Inside, it edits the keys, invalidates the
// evaluation cache, sends a TparamCurveModifiedMsg to the curve's own clients
// and, at the outermost endChange, reports the curve to the global depot,
// which tells the global clients (see TparamCurveMsgDepot).
//
// Bad input never fails loudly: a bad index, a null key, NaN, or a time of
// the other form (ticks for a float curve and seconds for an animTime curve,
// in mutations) answers false, 0 or null and leaves the curve untouched.
//
// A curve is used by one thread at a time; distinct curves may be used by
// distinct threads, except for the library-wide depot and statics, which
// belong to the host's main thread.
class KEEL_API TparamCurve : public TdeltaUser, public TclientServer {
public:
    // Curve flag bits.
    enum TcurveFlagBit : unsigned {
        kStaticBit = 0,            // every key has the same value
        kSuppressMessagesBit = 1,  // unless kForceMessagesBit
        kForceMessagesBit = 2,
        kAskHelpersBit = 3,  // ask the helpers before each outermost change
        kReferencedBit = 4,  // from a referenced file
        kNoRemovalDeltasBit = 5,
        kWeightedBit = 6,
        kHideKeysBit = 7,  // keyframeCount and seekKey skip keys with key bit 3
    };

    // Change masks: which key parameters a change touches.
    static constexpr unsigned kChangeTime = 512;
    static constexpr unsigned kChangeValue = 1024;
    static constexpr unsigned kChangeAll = 1919;  // insertion, removal, moves
    static constexpr unsigned kChangeReplace = 728;
    static constexpr unsigned kChangeBatchMove = 1752;
    static constexpr unsigned kChangeTangentType = 248;
    static constexpr unsigned kChangeInfinity = 16384;
    static constexpr unsigned kChangeNothing = 0;

    // Curve kinds 3, 4 and 5 are the rotation channels.
    static constexpr unsigned kDefaultCurveKind = 1;

    // Callbacks through which the host tells the curve about its context.
    struct ThostHooks {
        void* fOwner = nullptr;
        // The three rotation curves of the same rotation; false when none.
        bool (*fSiblingRotationCurves)(void* owner, TparamCurve const* curve, TparamCurve** x, TparamCurve** y,
                                       TparamCurve** z) = nullptr;
        double (*fNormalisationScale)(void* owner, TparamCurve const* curve) = nullptr;
        bool (*fIsNormalised)(void* owner, TparamCurve const* curve) = nullptr;
    };

    using TclientCallbackFn = TclientCallback;

    // --- Construction (curve/paramCurve.cpp) -------------------------------
    // A float curve when `floatTime` is true, else an animTime curve. The
    // curve starts static and weighted unless the key-tangent preference says
    // otherwise.
    explicit TparamCurve(bool floatTime = true);
    // Copies hold fresh copies of every key (selection does not travel) and
    // the curve-wide settings; clients and pending deltas stay behind.
    TparamCurve(TparamCurve const& other);
    TparamCurve& operator=(TparamCurve const& other);
    ~TparamCurve() override;

    bool isFloatCurve() const { return fFloatKeys != nullptr; }
    bool isAnimTimeCurve() const { return fTickKeys != nullptr; }
    unsigned curveKind() const { return fCurveKind; }
    void setCurveKind(unsigned kind) { fCurveKind = kind; }
    bool isRotationCurve() const { return fCurveKind >= 3 && fCurveKind <= 5; }

    // --- Key access, tolerant of every bad index (curve/paramCurve.cpp) ----
    // The number of keys; with kHideKeysBit set, hidden keys are not counted.
    unsigned keyframeCount() const;
    // The key at array index `index`, or null.
    Tkeyframe* keyframe(unsigned index) const
    {
        return fTickKeys != nullptr ? fTickKeys->at(index) : fFloatKeys->at(index);
    }
    // The visible key at or next to `index`: direction > 0 looks forward,
    // < 0 backward; 0 reads `index` as the ordinal among visible keys. The
    // index is rewritten to the key's array index. Null when none.
    Tkeyframe* seekKey(unsigned& index, int direction) const;
    // True when a key lies at `time` (within kTimeTolerance on a float curve,
    // at the same tick on an animTime curve); `index` is then its index,
    // otherwise the index a key at that time would take. Times of the other
    // form are converted.
    bool find(TtimeValue const& time, unsigned& index) const;
    // find() for a time in the keys' own stored form: no non-linear-editing
    // clip mapping.
    bool findStoredTime(TtimeValue const& time, unsigned& index) const;
    // The index of this key object, or kArrayFailure when it is not a key of
    // this curve.
    unsigned indexOfKey(Tkeyframe const* key) const;
    // Whether this key object is one of the curve's keys, found by address
    // alone: the key is never read, so it may be a deleted one.
    bool holdsKey(Tkeyframe const* key) const;
    // A key's time as the host sees it: in the curve's form, tick times
    // mapped through the non-linear-editing clip. Zero seconds for null.
    TtimeValue timeValue(unsigned index) const;
    TtimeValue timeValue(Tkeyframe const* key) const;
    // The same in one scratch value per thread, valid until the next call.
    TtimeValue const& timeValueRef(Tkeyframe const* key) const;
    float seconds(Tkeyframe const* key) const;
    float seconds(unsigned index) const;
    double doubleSeconds(Tkeyframe const* key) const;
    // The key's value, 0.0 for a bad index.
    double value(unsigned index) const
    {
        Tkeyframe const* key = keyframe(index);
        return key != nullptr ? key->value() : 0.0;
    }
    bool breakdown(unsigned index) const;
    bool tickDrawSpecial(unsigned index) const;

    // --- Key mutation (curve/paramCurveEdit.cpp) ---------------------------
    bool setValue(unsigned index, double value);
    // Also stores the auxiliary component of rotation keys.
    bool setValue(unsigned index, double value, float aux);
    // Writes the key's time; false (with the time written) when the new time
    // breaks the order with the neighbours, which the caller must then mend.
    bool setTime(unsigned index, TtimeValue const& time);
    bool setKeyTime(Tkeyframe* key, TtimeValue const& time);
    // Adds a copy of `key` at its time; a key already there takes the new
    // data instead. `select` selects the key, `keepTangents` keeps the given
    // tangents rather than computing them from the tangent types, and
    // `quiet` sends no change message.
    bool add(Tkeyframe const& key, bool select = false, bool keepTangents = false, bool quiet = false);
    // Inserts a copy only where no key lies at that time.
    bool insert(Tkeyframe const& key, bool keepTangents, bool select);
    // Inserts this key object, taking ownership on success only.
    bool insert(Tkeyframe* key, bool keepTangents);
    // Inserts a copy of `key`, or replaces the key at its time through add().
    // With `preserveShape`, the new key takes the curve's value and the
    // tangents that keep the split span's shape, and the neighbours' facing
    // tangents are set to match (their types become fixed, stepped ones stay).
    bool insertKey(Tkeyframe const& key, bool preserveShape);
    // A key at `time` with the curve's value there, where no key is;
    // `breakdown` marks it so, `allChannels` inserts on all three rotation
    // channels. On an empty curve the key goes through add().
    bool insert(TtimeValue const& time, bool breakdown, bool allChannels);
    // Adds one key per time and value in one change bracket. Keys at times
    // already keyed take the new value; within the block the last pair for a
    // time wins. Tick times are converted to seconds on a float curve.
    bool blockAdd(TanimTimeArray const& times, TdoubleArray const& values, TtangentType in, TtangentType out);
    bool blockAdd(TanimTime const* times, double const* values, unsigned count, TtangentType in, TtangentType out);
    // Overwrites a key of this curve in place (selection stays with the slot).
    bool replaceKey(Tkeyframe* old, Tkeyframe const& replacement);
    // Removes the key at `index`, on this curve or, with `allChannels`, on the
    // three rotation channels that the host hooks deliver.
    bool remove(unsigned index, Tkeyframe const* record = nullptr, bool allChannels = false);
    // Deletes every key; records no undo.
    void removeAllKeys(bool notify = true, bool allChannels = false);
    // Puts back a key object (as the undo of a removal does), taking
    // ownership on success; false when a key lies at its time already.
    bool addRemovedKey(Tkeyframe* key);
    bool setBreakdown(unsigned index, bool on);
    bool setTickDrawSpecial(unsigned index, bool on);

    // --- Evaluation (curve/detail/curveEvaluator.cpp, curve/paramCurveEval.cpp)
    // The value at a time in the curve's own form (ticks exact on an
    // animTime curve). Inside the keys by the span's interpolation, outside
    // by the infinity types. A NaN time answers the first key's value (0 for
    // an empty curve). Sequential times are answered from a one-entry cache
    // without searching; evaluation allocates nothing.
    double evaluate(TtimeValue const& time);
    // The same for a time in seconds.
    double evaluate(float seconds);
    // The value at key `index` (and the slope of its out-tangent); false for
    // a bad index.
    bool evaluate(unsigned index, double* value, double* outSlope);
    // The values at many times, into `values` (values[i] for times[i]). The
    // times may come in any order; increasing ones are answered as a sweep,
    // from the span of the one before. False, writing nothing, when `values`
    // is shorter than the times.
    bool evaluate(std::span<TtimeValue const> times, std::span<double> values);
    bool evaluate(std::span<float const> seconds, std::span<double> values);
    // The values of many curves at one time, into `values`; a null curve
    // answers 0. False, writing nothing, when `values` is shorter.
    static bool evaluate(std::span<TparamCurve* const> curves, TtimeValue const& time, std::span<double> values);
    // The same evaluations through a caller's cursor (keelanim/curve/
    // evalCursor.h), which keeps what the curve's own evaluate() keeps in
    // the curve: the curve is only read, so several threads may evaluate it
    // at once, each with its own cursor. The values are those of evaluate().
    double evaluate(TtimeValue const& time, TevalCursor& cursor) const;
    double evaluate(float seconds, TevalCursor& cursor) const;
    bool evaluate(std::span<TtimeValue const> times, std::span<double> values, TevalCursor& cursor) const;
    // The value beyond the keys: before the first key when `pre`, else after
    // the last, by the pre- or post-infinity type.
    double evaluateInfinities(TtimeValue const& time, bool pre);
    double evaluateInfinities(float seconds, bool pre);
    // Whether a plug-in segment supplies the value at this key instead of
    // the stored value.
    bool evaluatedAtKey(unsigned index, float seconds, double& value);
    // The angle (radians) of a key's in- or out-tangent in the given display
    // scales; +-pi/2 for vertical tangents, 0 for a vanishing one.
    double tangentAngle(unsigned index, bool in, double xScale, double yScale) const;

    // --- Tangents (curve/paramCurveTangents.cpp; rules in segments/) ------
    // Recomputes key i's tangents by the rules of its types (through the
    // segment kind of the span it starts).
    void modifyTangentHelper(unsigned index);
    // False when key i does not exist. Otherwise recomputes it as its
    // deciding type asks: the in-type when `useIn`, else the out-type (see
    // the source for the spline and second-pass details).
    bool tangentMethodIdentifier(unsigned index, bool useIn, bool sameSideOnly);
    // The segment whose tangent rules recompute a key (owned by the curve):
    // of the kind the span starting at `key` wants, kept apart from
    // evaluation's segment so that recomputing tangents never disturbs the
    // span evaluation holds. Null for kinds without a segment.
    T2dAnimCurve* tangentSegment(Tkeyframe const* key);
    // Recomputes key i and those neighbours whose tangents follow their
    // neighbours (every computed type).
    void modifyTangents(unsigned index);
    // Recomputes keys first..last and the keys just outside them.
    void modifySmoothTangents(unsigned first, unsigned last);
    void modifyLinearTangents(unsigned first, unsigned last);
    // Recomputes the keys the handles name (and their neighbours).
    void recomputeTangents(TkeyframeHandlePtrArray& handles);
    // Sets key i's in-type (part kPickInTangentBit), out-type
    // (kPickOutTangentBit) or both (kPickKeyBit), without a bracket; false
    // for a bad index or part.
    bool setTangentTypeHelper(unsigned index, TtangentType type, int part);
    // Sets key i's types inside a change bracket and recomputes the tangents
    // around it (undoable in a modification); false when the bracket is
    // refused or the index is bad.
    bool setTangentType(unsigned index, TtangentType in, TtangentType out);
    bool setTangentType(unsigned index, TtangentType type, int part);
    // The host's value normalisation scale (1 without one).
    double normScaleValue() const;

    // --- Tangent editing (editing/tangentEditing.cpp, editing/pickedTangents.cpp)
    // Tangent vectors are (x, y) in seconds and value units, three times the
    // Bezier handle of the span. xScale and yScale are an editor's display
    // scales for time and value (positive and finite, else the call answers
    // false or 0): angles and weights are those the editor shows.
    //
    // Lock bits of one key, each in its own change bracket (mask 256 for the
    // key and tangent locks, 2048 for the weight lock). False for a bad index
    // or a refused bracket. Only curves from referenced files tell their
    // clients (kLockChanged). In a modification a change of the bit is
    // undoable.
    bool setLocked(unsigned index, bool on);
    bool setTangentsLocked(unsigned index, bool on);
    bool setWeightsLocked(unsigned index, bool on);
    // The key's bits; false for a bad index.
    bool tangentsLocked(unsigned index) const;
    bool weightsLocked(unsigned index) const;
    // Sets one tangent of `key`, a key of this curve, as the segment of its
    // span accepts it (an unweighted span keeps only the direction). The
    // tangent type stays. True when the key changed; false for a null key,
    // a key of another curve, NaN or infinite components, a span kind
    // without a segment, or a refused bracket.
    bool setTanIn(Tkeyframe* key, float x, float y);
    bool setTanOut(Tkeyframe* key, float x, float y);
    // The interactive drag of the in- (`in`) or out-tangent of key `index`:
    // the side takes the vector and becomes fixed (a locked plug-in type
    // stays), and in a modification a TPCDdragTan records the drag. The
    // other side is not touched (editTangent keeps locks). With
    // kSuppressMessagesBit set the vector is written as it stands, the type
    // kept and nothing recorded. False for a bad index, NaN or infinite
    // components, the in-tangent of a key whose span is forced linear, or a
    // refused bracket (mask 220 / 28 for the in-tangent with / without locked
    // tangents, 248 / 224 for the out-tangent).
    bool dragTangent(unsigned index, float x, float y, bool in);
    // The weight an editor shows: on a weighted curve the display length of
    // the Bezier handle; otherwise 1, or 0 for a vanishing tangent. 0 for a
    // bad index or bad scales.
    double tangentWeight(unsigned index, bool in, float xScale, float yScale) const;
    // The vector for a new angle (radians of `angle`) at the present weight,
    // for a new weight at the present angle, or for both (the key is not
    // read). Weights below 0.005 give the minimum length 0.015. Nothing is
    // changed: the caller applies x and y with dragTangent or editTangent.
    // False, with x and y untouched, for a bad index, bad scales or a
    // result that is not finite.
    bool setTangentAngle(unsigned index, Tangle const& angle, bool in, float& x, float& y, float xScale,
                         float yScale) const;
    bool setTangentWeight(unsigned index, float weight, bool in, float& x, float& y, float xScale, float yScale) const;
    bool setTangentWeightAndAngle(unsigned index, float weight, Tangle const& angle, bool in, float& x, float& y,
                                  float xScale, float yScale) const;
    //
    // Lock-preserving editing. A key with locked tangents keeps its two
    // tangents collinear; on a weighted curve a key with locked weights
    // keeps the display length of a dragged tangent. A tangent pointing
    // backwards in time is taken with x = 0, as keys store it.
    //
    // Rescales (x, y) to the display length side `in` of key `index` has now,
    // when the key's weights are locked on a weighted curve (else leaves it).
    // False for a bad index, bad scales, bad components, or a vanishing
    // (x, y) that has no direction to keep a length along.
    bool adjustForWeightLock(unsigned index, bool in, float& x, float& y, float xScale, float yScale) const;
    // The other side's vector collinear with (x, y) for side `in`, at the
    // display length the other side has now. False as above.
    bool adjustForAngleLock(unsigned index, bool in, float x, float y, float& otherX, float& otherY, float xScale,
                            float yScale) const;
    // Both adjustments for a drag of side `in` to (x, y): (x, y) as the
    // weight lock takes it, and the other side as the tangent lock then
    // asks (its present vector when the tangents are not locked).
    bool adjustTangent(unsigned index, bool in, float& x, float& y, float& otherX, float& otherY, float xScale,
                       float yScale) const;
    // Drags side `in` to (x, y) as adjustTangent takes it and, with locked
    // tangents, the other side with it, in one change bracket whose mask
    // joins those of both drags: all or nothing. Each dragged side is one
    // TPCDdragTan.
    bool editTangent(unsigned index, float x, float y, bool in, float xScale, float yScale);
    // Drags side `in` as editTangent does and answers in (x, y) the vector
    // the side took.
    bool adjustTangent(unsigned index, bool in, float& x, float& y, float xScale, float yScale);
    // Brings a tangent changed by other means (setTanIn, the key itself) in
    // line with the key's locks, `before` being a copy of the key taken
    // before that change: with locked weights side `in` takes the display
    // length it had, with locked tangents the other side follows it. In a
    // modification the whole change from `before` is recorded as TPCDdragTan
    // records. False for a bad index, bad scales or a refused bracket.
    bool manageTangentChangeWhenLocked(unsigned index, bool in, Tkeyframe const& before, float xScale, float yScale);
    // Brings the other side of a key with locked tangents back in line with
    // side `in` (after locking, say). True when the key is in line now.
    bool preserveTangentLock(unsigned index, bool in, float xScale, float yScale);
    // For tangents changed without a record (setTanIn, setTangentTypeHelper,
    // the key itself): in a modification, records each side of key `index`
    // whose vector or type differs from `before`, a copy of the key taken
    // before the change, as a TPCDdragTan that undoes to `before` exactly.
    // False outside a modification or for a bad index.
    bool generateDeltasForTangents(unsigned index, Tkeyframe const& before);
    //
    // Over picks (editing/pickedTangents.cpp). The tangent or weight lock of
    // every active pick's key, in one change bracket (mask 256 / 2048):
    // false when it is refused. Unlike the single-key setters, every picked
    // key tells the curve's clients (kLockChanged). Undoable in a
    // modification.
    bool setTangentLockedStatus(TpickKeyDictionary const& picks, bool on);
    bool setWeightLockedStatus(TpickKeyDictionary const& picks, bool on);
    // Lock-preserving edits of every picked tangent (a whole-key pick names
    // its out-tangent) through editTangent: to the vector (x, y), to a new
    // angle at each tangent's weight, or to a new weight at each tangent's
    // angle. One bracket holds them all, so a locked curve or a helper's veto
    // refuses every one; a side whose vector cannot be made is skipped, and
    // the answer is then false.
    bool adjustTangents(TpickKeyDictionary const& picks, float x, float y, float xScale, float yScale);
    bool adjustTangents(TpickKeyDictionary const& picks, Tangle const& angle, float xScale, float yScale);
    bool adjustTangents(TpickKeyDictionary const& picks, float weight, float xScale, float yScale);

    // --- Moving keys (editing/keyMoving.cpp, editing/breakdownCache.cpp,
    //     editing/changeFnMoves.cpp) ----------------------------------------
    // A move runs between beginMoveKeys, which notes the keys that take part
    // (and the breakdown keys that follow them), and endMoveKeys. Times are
    // host times in the curve's form (seconds on a float curve, ticks on an
    // animTime curve); a time of the other form leaves a key where it is.
    // Each placed key is recorded for undo (TPCDdragKey) in a modification
    // and announced to the curve's clients by a TkeyframeMovedMsg.
    //
    // Starts a move of these keys (null handles and repeats are skipped);
    // nothing when the input is empty or any of kChangeAll is locked.
    void beginMoveKeys(TkeyframeHandlePtrArray const& handles);
    void beginMoveKeys(TpickKeyDictionary const& picks);
    // Ends the move and forgets its breakdown records.
    void endMoveKeys();
    // The batch: key handles[i] goes to newTimes[i] (a time of the other
    // form keeps the key's time) and newValues[i] (when that array is as
    // long as handles; else the value stays). Keys moving later are placed
    // latest first, keys moving earlier earliest first, so the batch never
    // collides with itself; a key that would land on an unmoved key stays,
    // unless the option replaces such keys (2 and 3). With
    // `followBreakdowns`, breakdown keys keep their proportion between the
    // moved keys. oldTimes and oldValues receive the keys' former times and
    // values in the order of handles. False, with nothing moved, when there
    // is no move, no key or no handle, when newTimes is not as long as
    // handles, when a time or value is not finite, or when the bracket
    // (kChangeBatchMove) is refused.
    bool moveKeys(TkeyframeHandlePtrArray& handles, TtimeValueArray& newTimes, TtimeValueArray& oldTimes,
                  TdoubleArray& newValues, TdoubleArray& oldValues, TparamCurveEnums::TmoveOption option,
                  bool followBreakdowns);
    // The batch with each key's own change, asked of `change` per handle
    // (see TtimeValueChangeFn): a key goes to its time now plus its time
    // change (in the curve's form, seconds rounded to the nearest tick on
    // an animTime curve) and its value plus its value change; otherwise as
    // the batch above. False as above, and for a change that is not finite.
    bool moveKeys(TkeyframeHandlePtrArray& handles, TtimeValueArray& oldTimes, TtimeValueChangeFn const& change,
                  TparamCurveEnums::TmoveOption option, bool followBreakdowns);
    // The same for the picked whole keys, and for the keys of the move in
    // progress (those beginMoveKeys named).
    bool moveKeys(TpickKeyDictionary const& picks, TtimeValueChangeFn const& change,
                  TparamCurveEnums::TmoveOption option, bool followBreakdowns);
    bool applyMoveKeyList(TtimeValueChangeFn const& change, TparamCurveEnums::TmoveOption option,
                          bool followBreakdowns);
    // Moves key `index` to (time, value); `record` makes the undo record
    // in a modification. Locked time or value stay as they are.
    bool moveKeyframe(unsigned index, TtimeValue time, double value, TparamCurveEnums::TmoveOption option, bool record);
    // The single-key move the others end in: `second` is the key's
    // auxiliary component (rotation keys; ignored on other curves). False
    // for a bad index, a time of the other form, NaN or infinite input (a
    // `second` beyond the float range included, as the key keeps it in
    // single precision), a
    // key already at the target (unless options 2 and 3 replace it), or when
    // nothing would change.
    bool moveKeyframeHelper(Tkeyframe* key, unsigned index, TtimeValue const& time, double value, double second,
                            TparamCurveEnums::TmoveOption option, bool record);
    // Moves key `index` in value only (and `second`, as above).
    bool moveKeyframeInValue(unsigned index, double value, double second);
    // The move an undo record replays: no locks, no replacement, no record.
    // `value` is in the curve's normalised space (see TPCDdragKey).
    bool moveForDeltaUndoRedo(TkeyframeHandle* key, TtimeValue const& time, double value, double second,
                              TparamCurveEnums::TmoveOption option);
    // With option 2 only: removes each unmoved key that lies at the target
    // of a moved key whose time changes, listing its time in `replaced`
    // (emptied first). False for another option, mismatched lengths, an
    // empty curve or input, a lock in kChangeReplace or a refused bracket.
    bool replaceKeys(TkeyframeHandlePtrArray& handles, TtimeValueArray& newTimes, TtimeValueArray& replaced,
                     TparamCurveEnums::TmoveOption option);
    // Exchanges keys a and b in the key array: each takes the other's time,
    // so the order holds. Recorded like a scale of the two keys.
    bool swapKeys(unsigned a, unsigned b);
    // Exchanges a key's in and out sides, as reversing time around it asks:
    // the types change places, and fixed tangents exchange their vectors
    // with the value component negated. False when nothing changed.
    bool switchInOutTangents(TkeyframeHandle* key);
    // Whether a move of these keys by (time, value), relative or to an
    // absolute (time, value) of the first key, is allowed under the locks
    // and the option. The handles are taken to be in time order.
    bool canMove(TkeyframeHandlePtrArray& handles, TtimeValue const& time, double value, bool relative,
                 TparamCurveEnums::TmoveOption option);
    bool canMove(TpickKeyDictionary const& picks, TtimeValue const& time, double value, bool relative,
                 TparamCurveEnums::TmoveOption option, bool liveOnly);
    // Records, in a modification, the moves of keys the host placed itself:
    // key handles[i] came from index indices[i], time times[i] and value
    // values[i]. The quaternions of rotation keys are not read (pass null).
    // False outside a modification or for mismatched lengths.
    bool generateDeltasForMove(TkeyframeHandlePtrArray& handles, TuInt32Array& indices, TtimeValueArray& times,
                               TdoubleArray& values, TquaternionArray const* quaternions,
                               TparamCurveEnums::TmoveOption option);
    // The move in progress (null outside one).
    TmoveKeyDataPtrList* moveKeyList() const;
    // The breakdown cache: one record per breakdown key whose proportion a
    // move or a scale keeps. Records belong to the cache.
    TbreakdownData* findBreakdownData(unsigned index) const;
    // A record for the key at `index` when it is a breakdown (caller owns
    // it), else null.
    TbreakdownData* getBreakdownData(unsigned index) const;
    TbreakdownData* addBreakdownData(TkeyframeHandle const* key);
    void getAffectedBreakdowns(TkeyframeHandlePtrArray const& handles);
    void getAffectedBreakdowns(TpickKeyDictionary const& picks);
    // Sets each following breakdown record's target to its desired time.
    void adjustBreakdownData(TmoveKeyDataPtrList& list);
    // Re-times every cached breakdown key to its desired time.
    void applyBreakdownCache();
    void flushBreakdownCache();

    // --- Scaling keys (editing/keyScaling.cpp) -----------------------------
    // Scales map an old time range linearly onto a new one (keys before and
    // after shift to keep clear of it) and values about a value pivot. A
    // scale that would bring two keys onto one time is refused whole. A
    // negative scale reverses the keys and exchanges their in and out sides.
    // In a modification a scale is recorded as a TPCDscaleKey that puts
    // every key back exactly.
    void beginScaleKeys(unsigned first, unsigned last);
    void endScaleKeys();
    // Answers true: the check refuses nothing.
    bool canScale(TkeyframeHandlePtrArray& handles, float timeScale, TtimeValue const& pivot);
    // Scales the keys from the first handle's to the last handle's (both
    // must be keys of this curve); time about timePivot (seconds), value
    // about valuePivot. Scales of 1 change nothing and answer true; NaN,
    // infinite or zero scales answer false.
    bool scaleTimeAndValue(TkeyframeHandlePtrArray& handles, float timeScale, float timePivot, float valueScale,
                           double valuePivot);
    bool scaleTimeAndValue(TpickKeyList const& picks, float timeScale, TtimeValue const& timePivot, float valueScale,
                           double valuePivot, bool liveOnly, bool followBreakdowns);
    // Maps the keys of [oldStart, oldEnd] onto [newStart, newEnd]; keys
    // before shift by min(newStart, newEnd) - oldStart and keys after by
    // max(newStart, newEnd) - oldEnd, except on the side where `reference`
    // lies beyond all four bounds. A range of one tick or less is a pure
    // shift. False when a bracket is refused or keys would meet.
    bool scaleRegion(TtimeValue const& oldStart, TtimeValue const& oldEnd, TtimeValue const& newStart,
                     TtimeValue const& newEnd, TtimeValue const& reference);
    // The same for the picked keys only: the others stay.
    bool scaleRegion(TpickKeyList const& picks, TtimeValue const& oldStart, TtimeValue const& oldEnd,
                     TtimeValue const& newStart, TtimeValue const& newEnd, TtimeValue const& reference, bool liveOnly);
    // Scales a key's tangents in time / in value (no bracket, no record).
    bool scaleTangentX(Tkeyframe* key, float factor, bool scaleIn, bool scaleOut);
    bool scaleTangentY(Tkeyframe* key, float factor);

    // --- Ripple and retime (editing/retime.cpp) ----------------------------
    // A retime stretches regions of the timeline, ripples the keys after
    // them and keeps the curve's shape between keys: every fixed tangent
    // follows its interval's change of length. Ripple offsets are seconds.
    //
    // A record to ripple key `index` by `offset` (the caller owns it); null
    // for a bad index or a breakdown key (breakdowns keep their proportion
    // instead of rippling).
    TrippleData* getRippleData(unsigned index, float offset) const;
    // One record per picked whole key that is not a breakdown; false when
    // none was made.
    bool buildRippleCache(TpickKeyList const& picks, float offset, TrippleDataPtrArray& out) const;
    // Moves each cached key to its desired time (option 2: a rippled key
    // replaces an unrippled key it lands on). Keys moving later go latest
    // first and keys moving earlier earliest first, so rippled keys never
    // land on each other. Recorded for undo in a modification.
    void applyRippleCache(TrippleDataPtrArray& cache);
    void flushRippleCache(TrippleDataPtrArray& cache);
    // One record per key with the interval before it (ticks / 6000 on an
    // animTime curve, seconds on a float curve); false for an empty curve.
    bool buildRetimeDistanceCache(TretimeDistanceDataPtrArray& out) const;
    // Every interval whose length changed by more than 1e-5 s scales the
    // fixed tangents facing into it (the out tangent of the key before, the
    // in tangent of the key after) by new / old length. Stops at the first
    // key that is gone. Recorded for undo in a modification.
    void applyRetimeDistanceCache(TretimeDistanceDataPtrArray& cache);
    void flushRetimeDistanceCache(TretimeDistanceDataPtrArray& cache);
    // Scales the times of regionA's picked keys by scaleA about pivotA and
    // of regionB's by scaleB about pivotB (values untouched, breakdowns
    // following), ripples the `ripple` keys by rippleOffset (before the
    // scales when it moves them later, so that a growing region finds room;
    // after them otherwise), then lets the fixed tangents follow their
    // intervals. False, with nothing changed, when keys would meet or pass
    // each other (a rippled key may replace the unmoved key it lands on),
    // for a NaN or zero scale, or when the curve refuses the change.
    bool retimeRegions(TpickKeyList const& regionA, TpickKeyList const& regionB, TpickKeyList const& ripple,
                       float scaleA, float scaleB, float rippleOffset, TtimeValue const& pivotA,
                       TtimeValue const& pivotB);

    // --- Rotation (rotation/quaternionEvaluation.cpp, rotation/eulerCache.cpp;
    //     the cache is dirtied in curve/paramCurveEval.cpp) -------------------
    // Three rotation channels (kinds 3, 4 and 5) that the host's sibling
    // hook links form a triple. In the quaternion modes the triple keys a
    // rotation at the same times on all three curves: the quaternion of key
    // i has x, y and z from the values of key i on the X, Y and Z curves and
    // w from the Z key's auxiliary component. Evaluating a channel then
    // answers its Euler angle (radians, X-Y-Z order) of the rotation
    // interpolated on the sphere, continuous across keys and infinity
    // cycles; a triple that is incomplete (a sibling missing, keys out of
    // step) is evaluated curve by curve. Evaluating one channel fills the
    // Euler cache of all three, so a triple belongs to one thread at a time.
    TparamCurveEnums::TrotationInterpolation rotationInterpolation() const { return fRotationInterpolation; }
    // Records the change in a modification; dirties the whole Euler cache.
    // False (nothing changed) for a value that names no mode or a refused
    // bracket.
    bool setRotationInterpolation(TparamCurveEnums::TrotationInterpolation mode);
    // Whether evaluation goes through the triple's quaternion.
    bool evaluatesAsQuaternion() const
    {
        return isRotationCurve() && fRotationInterpolation >= TparamCurveEnums::kQuaternionTangentDependent;
    }
    // The triple's rotation at `time` (the identity without a complete
    // triple); the siblings found go to x, y and z (each may be null).
    Tquaternion evaluateQuaternion(TtimeValue const& time, TparamCurve** x = nullptr, TparamCurve** y = nullptr,
                                   TparamCurve** z = nullptr);
    // The rotation as Euler angles nearest the triple's own path.
    TrotateXYZ evaluateQuaternionAsEuler(TtimeValue const& time);
    // This channel's angle of it; 0 when the curve is none of the three.
    // `incomplete` (when given) turns true without a complete triple.
    double evaluateQuaternionAsEulerComponent(TtimeValue const& time, bool* incomplete);
    // Drops the Euler samples of keys index - 2 to index + 1 on the three
    // curves (-1: of every key).
    void dirtyQuaternionEulerCache(int index);
    // Rebuilds the triple's Euler samples where dropped (every one with
    // `force`); false without a complete triple.
    bool updateQuaternionEulerCache(bool force);
    static bool updateQuaternionEulerCache(TparamCurve** curves, bool force);
    // The key of the triple at or before (`before`) or at or after `time`
    // (seconds), read on the X curve: its time, index and key object (each
    // output may be null). False when there is none.
    static bool findClosestKeyframe(TparamCurve* x, TparamCurve* y, TparamCurve* z, float time, bool before,
                                    float* keyTime, int* index, Tkeyframe** key);
    // Maps a time (seconds) beyond the triple's keys back into them by the X
    // curve's infinity types: `offset` is the rotation a repetition adds
    // (applied after the mapped rotation), `end` the rotation of the key on
    // that side, `before` whether the time lay before the keys. False (all
    // untouched but `before`) for a time within the keys.
    static bool evaluateQuaternionInfinity(float& time, TparamCurve* x, TparamCurve* y, TparamCurve* z,
                                           Tquaternion& offset, Tquaternion& end, bool& before);
    // Keys every curve at the times any of them is keyed, each new key
    // keeping its curve's shape. False when a curve refuses.
    static bool syncroniseCurvesInTime(TparamCurve** curves, unsigned count);
    // Moves key `index` of the triple to (time, rotation), on all three
    // curves; as moveKeyframe otherwise.
    bool moveKeyframe(unsigned index, TtimeValue time, Tquaternion const& rotation,
                      TparamCurveEnums::TmoveOption option, bool record);

    // --- Clipboard (clipboard/copy.cpp, clipboard/cut.cpp,
    //     clipboard/infinityZone.cpp, clipboard/paste.cpp,
    //     clipboard/pasteShaping.cpp) ----------------------------------------
    // Copies go into clipboard curves made by the copy: `result` points to
    // three slots that the copy fills (the rest are set to null) and whose
    // curves the caller owns and deletes (TclipboardCurves does so). A curve
    // of a rotation triple copies its whole triple, three curves in X, Y, Z
    // order; any other curve copies itself alone. Clipboard keys keep the
    // host times they had. Ranges are host times of the curve's form and
    // include both ends; a reversed range, NaN or a time of the other form
    // copies nothing. The answer is the number of curves filled, 0 when
    // nothing was copied (the slots are then null).
    enum TcopyOption : unsigned {
        kCopyKeys = 0,           // the keys inside the range
        kCopyWithRangeEnds = 1,  // also keys at the range ends and the infinity zones it covers
        kCopyForCut = 2,         // what cut option 6 asks: the keys inside the range
    };
    // What a cut does to the keys after the range once it removed the keys
    // inside. Options 3 to 5 first key the range ends (keeping the curve's
    // shape), then remove the keys strictly between them. "Join" lowers
    // the moved keys by (value at end - value at start), so that the curve
    // stays continuous across the closed gap; on a triple in a quaternion
    // mode the moved rotations turn by the rotation between the ends.
    enum TcutOption : unsigned {
        kCutKeys = 0,                // later keys stay
        kCutAndClose = 1,            // later keys move earlier by the range length
        kCutAndJoin = 2,             // as 1, and joined
        kCutRange = 3,               // keys at the ends stay, later keys stay
        kCutRangeAndClose = 4,       // the end key lands one tick after the start key
        kCutRangeAndJoin = 5,        // as 4 and joined: the start key takes the end key's out side
        kCutKeysAndCloseOnKeys = 6,  // later keys move so the first lands where the first cut key stood
    };
    // How pasted keys meet the keys of the target (see paste()).
    enum TpasteOption : unsigned {
        kPasteInsert = 0,
        kPasteUnhandled = 1,  // does nothing
        kPasteReplace = 2,
        kPasteMerge = 3,
        kPasteScaleInsert = 4,
        kPasteScaleReplace = 5,
        kPasteScaleMerge = 6,
        kPasteFitInsert = 7,
        kPasteFitReplace = 8,
        kPasteFitMerge = 9,
    };
    static constexpr unsigned kMaxClipboardCurves = 3;
    //
    // Copying (no change to this curve). With several picks only whole-key
    // picks can be copied; a single pick must be a whole-key pick.
    bool canCopy(TpickKeyDictionary const& picks, TcopyOption option) const;
    // A run of consecutive picked keys copies as the range between them;
    // scattered picks copy key by key. 0 when a picked key is not found.
    unsigned copy(TpickKeyDictionary const& picks, TcopyOption option, TparamCurve** result);
    // Keys from the first at or after `start` to the last at or before
    // `end`. With kCopyWithRangeEnds the clipboard also has keys at the ends
    // (the curve's value there, tangents that keep the span's shape) and
    // the part of the range beyond the keys (copyKeysInInfinityZone).
    // Unless the whole curve is copied, the sides of the end keys that face
    // into the range are made fixed (linear on a quaternion triple), stepped
    // sides excepted, so the block keeps its shape wherever it is pasted.
    unsigned copyKeysInRange(TtimeValue start, TtimeValue end, TcopyOption option, TparamCurve** result);
    // The whole-key picks found on each curve of the copy, key by key.
    unsigned copyKeysInPickArray(TpickKeyDictionary const& picks, TcopyOption option, TparamCurve** result);
    // The range as the curve shows it, the infinity zones written out as
    // keys: the keys each infinity type repeats into the range, keys at the
    // range ends, and, for constant and linear infinities, the line the
    // curve follows there. Where a cycle jumps, the key evaluation does not
    // answer at the seam sits one tick away. A range asking for more than a
    // million keys copies nothing.
    unsigned copyKeysInInfinityZone(TtimeValue const& start, TtimeValue const& end, TcopyOption option,
                                    TparamCurve** result);
    // The curves a copy reads (`sources`) and new, empty clipboard curves
    // for them (`results`, owned by the caller): of the same time form,
    // weighting, curve kind and rotation interpolation. `count` receives 1
    // or 3; every slot beyond it is null.
    void copyInit(unsigned* count, TparamCurve** sources, TparamCurve** results);
    //
    // Cutting: a copy (when `result` is not null) and the removal, all or
    // nothing: a curve that refuses the change refuses the cut. In a
    // modification every edit of it is recorded, so one undo step takes
    // the whole cut back. A triple is cut on all three curves. 0 when nothing was cut and copied; refused brackets and
    // bad input change nothing.
    unsigned cut(TpickKeyDictionary const& picks, TcutOption option, TparamCurve** result);
    // The range's keys as TcutOption says. The answer is the number of
    // clipboard curves (with a null `result`: 1 when keys were cut).
    unsigned cutKeysInRange(TtimeValue start, TtimeValue end, TcutOption option, TparamCurve** result);
    // Each whole-key pick cut as the instant of its key, latest first, so
    // that closing a gap never moves a key still to be cut. At an instant,
    // options 3 to 5 cut the key as 0 to 2 do.
    unsigned cutKeysInPickArray(TpickKeyDictionary const& picks, TcutOption option, TparamCurve** result);
    //
    // Pasting. The clipboard's copied range runs from *copiedStart to
    // *copiedEnd, or, where either is null, from the first to the last key
    // of the first clipboard curve; its length L is copiedEnd - copiedStart.
    // The block goes in at `start`: every clipboard key moves by start -
    // copiedStart. Insert moves the target's keys at or after `start` later
    // by L (one tick more where the block's last key would meet the key
    // that stood at `start`). Replace first removes the target's keys from
    // `start` to *clearEnd (to start + L when clearEnd is null). Merge puts
    // the block down `repetitions` times (0 counts as 1), each L after the
    // one before; a pasted key takes the place of a key at its time, and
    // where repetitions meet, the key keeps the earlier one's in side.
    // Scale maps the copied range onto [start, end], fit maps the
    // clipboard's first to last key onto it; both then insert, replace or
    // merge. Values become (value - valuePivot) * valueScale + valuePivot +
    // valueOffset, tangents scaled with them; with `connect` the offset is
    // the one that makes the block's first key meet the curve at `start`.
    // Quaternion values are pasted as they are. A clipboard
    // triple pastes onto a triple axis by axis, onto a single rotation
    // curve from the clipboard curve of its axis, onto any other curve from
    // clipboard curve `sourceIndex`; between a quaternion and an Euler
    // triple the clipboard is converted first. `select` selects the pasted
    // keys. The answer is the number of curves pasted; 0, with nothing
    // changed, for an empty clipboard or one of the other time form, a
    // count other than 1 or 3, an option that is not handled (1, above 9),
    // NaN or infinite input, a scale from or onto an empty or reversed
    // range, a fit onto a reversed range, or a refusal.
    unsigned paste(TtimeValue const& start, TtimeValue const& end, unsigned count, TparamCurve* const* clipboard,
                   TpasteOption option, unsigned sourceIndex, bool connect, TtimeValue const* copiedStart,
                   TtimeValue const* copiedEnd, double valueOffset, double valueScale, TtimeValue const* clearEnd,
                   double valuePivot, bool select, unsigned repetitions);
    unsigned paste(TtimeValue const& start, TtimeValue const& end, unsigned count, TparamCurve* const* clipboard,
                   TpasteOption option, TpasteSettings const& settings);
    // The workers paste() dispatches to. `targets` holds `count` curves (this
    // curve among them) that take clipboard[i] each; the copied range is
    // given, the settings as paste() reads them.
    unsigned pasteInsert(TtimeValue const& start, TtimeValue const& end, unsigned count, TparamCurve* const* clipboard,
                         TparamCurve* const* targets, TtimeValue const& copiedStart, TtimeValue const& copiedEnd,
                         TpasteSettings const& settings);
    unsigned pasteReplace(TtimeValue const& start, TtimeValue const& end, unsigned count, TparamCurve* const* clipboard,
                          TparamCurve* const* targets, TtimeValue const& copiedStart, TtimeValue const& copiedEnd,
                          TpasteSettings const& settings);
    unsigned pasteMerge(TtimeValue const& start, TtimeValue const& end, unsigned count, TparamCurve* const* clipboard,
                        TparamCurve* const* targets, TtimeValue const& copiedStart, TtimeValue const& copiedEnd,
                        TpasteSettings const& settings);
    unsigned pasteScale(TtimeValue const& start, TtimeValue const& end, unsigned count, TparamCurve* const* clipboard,
                        TparamCurve* const* targets, TtimeValue const& copiedStart, TtimeValue const& copiedEnd,
                        TpasteOption option, TpasteSettings const& settings);
    unsigned pasteFit(TtimeValue const& start, TtimeValue const& end, unsigned count, TparamCurve* const* clipboard,
                      TparamCurve* const* targets, TtimeValue const& copiedStart, TtimeValue const& copiedEnd,
                      TpasteOption option, TpasteSettings const& settings);
    // Puts a copy of clipboard key `key` on this curve at its time plus
    // `offset`, its value as the settings transform it; `joinIn` keeps the
    // in side of a key already there. False when the key cannot be placed.
    bool pasteOneKey(Tkeyframe const& key, TtimeValue const& offset, TpasteSettings const& settings, bool joinIn);
    // `time` less one tick: a tick, or 1/6000 second in single precision.
    TtimeValue oneTickShorter(TtimeValue const& time) const;
    // Turns a clipboard triple in a quaternion mode into Euler angles
    // (radians) keyed at the same times, tangent types kept; with `filter`
    // each key's angles are the ones nearest the key before, so that no
    // channel flips by a turn. False (nothing changed) for a count other
    // than 3, a null curve or keys out of step.
    static bool convertCopyResultToIndependentEuler(unsigned count, TparamCurve** curves, bool filter);

    // --- Span segments (curve/paramCurveEval.cpp) -------------------------
    // The held segment, made to the kind the span that starts at `key`
    // wants (null for kinds without a segment).
    T2dAnimCurve* updateInterpolator(Tkeyframe const* key);
    T2dAnimCurve* updateInterpolator(TtimeValue const& time);
    // Makes span i (key i to key i + 1) current; builds its segment only when
    // the span changed. Nothing happens when key i + 1 does not exist.
    void setInterpolationInterval(unsigned index);
    // Recomputes the interpolation method of key i and of key i - 1.
    void setSpanInterpMethod(unsigned index);
    // The segment evaluation holds and the span it was built for (-1: none).
    T2dAnimCurve* interpolator() const;
    int interpolatorSpan() const;
    // A new key at `time` (caller owns it) that keeps the curve's shape: the
    // curve's value there and the tangents of the split span.
    Tkeyframe* newMatchingKeyframe(TtimeValue const& time);

    // --- Queries (curve/paramCurveQuery.cpp) ------------------------------
    // New handles (caller owns them) to the key nearest to a time or to a
    // value; null for an empty curve. Halfway between two keys, the later
    // key wins; among keys equally near a value, the earliest.
    TkeyframeHandle* findClosestKeyframe(TtimeValue const& time);
    // The nearest key no further than `tolerance` seconds away, or null;
    // with `visibleOnly`, keys the curve hides are passed over.
    TkeyframeHandle* findClosestKeyframe(TtimeValue const& time, double tolerance, bool visibleOnly);
    TkeyframeHandle* findClosestValue(double value);
    // The time of the first key after (`forward`) or before `time`; `found`
    // false (and `time` answered) when there is none.
    TtimeValue getNextKey(TtimeValue const& time, bool forward, bool& found) const;
    // Times and value bounds of the span from key `span` to key `span` + 1;
    // false and nothing written when either key is missing. The bound is
    // cheap (it may exceed the curve) unless `exact` asks for the span's
    // true extremes.
    bool boundingBox(unsigned span, float& t0, double& vMin, float& t1, double& vMax, bool exact);
    // The same over the whole curve; false for an empty curve.
    bool boundingBox(float& t0, double& vMin, float& t1, double& vMax, bool exact);
    // The stationary points of a span's segment (see T2dAnimCurve); false
    // when the span has no segment.
    bool minMaxValueAndTime(unsigned span, float& t0, double& vMin, float& t1, double& vMax);

    // --- Undo: recording and replay (curve/paramCurveRecording.cpp; weighting
    //     in curve/paramCurveTangents.cpp, detaching and swapping keys in
    //     curve/paramCurveEdit.cpp; the records themselves live in undo/) ----
    // Offers a new record to the modification's pending delta (see the
    // source for the exact rules); outside a modification the caller keeps
    // `delta` and `append` is answered.
    bool addDelta(Tdelta* delta, bool append);
    // In a modification, records a snapshot of the whole curve.
    void generateCurveDeltas();
    // Makes the tangents weighted or not, converting every key's tangents
    // so that the shape is kept as closely as the two segment kinds allow.
    bool setIsWeighted(bool weighted);
    // Only the flag, without converting tangents (undo records use it).
    void setWeightedFlag(bool weighted);
    // Removes key i like remove() but hands the key object to the caller
    // instead of deleting it (undo records keep removed keys); null for a bad
    // index or a refused bracket.
    Tkeyframe* detachKey(unsigned index);
    // Exchanges the curve's keys with `keys` (taking ownership of those and
    // giving up its own); false when `keys` is not in time order.
    bool swapKeyframes(TkeyframePtrList& keys);
    // While a step is replayed (undone or redone) tangents are not re-derived:
    // the step's records put back exactly what the edits left. Nested.
    class KEEL_API TreplayScope {
    public:
        TreplayScope();
        ~TreplayScope();
        TreplayScope(TreplayScope const&) = delete;
        TreplayScope& operator=(TreplayScope const&) = delete;
    };
    static bool isReplaying();
    // The number of keys in the array, hidden ones included.
    unsigned keyframeCountAll() const { return arrayCount(); }
    // Counts the times keys left the curve without a TkeyframeAddDeleteMsg
    // (removeAllKeys, assignment): a handle compares it to know that its key
    // is gone even though it heard nothing.
    unsigned silentKeyDrops() const { return fSilentKeyDrops; }
    // Counts the key deletions that no undo record took (the above, and
    // removals outside a modification or without removal records): records
    // made before such a deletion are inert.
    unsigned unrecordedDeletions() const { return fUnrecordedDeletions; }
    // Every curve alive is known by its address and the number it was given
    // when made (a copy gets a new one): a record that outlives its curve
    // finds it gone, also when a new curve took the same address.
    std::uint64_t liveSerial() const { return fLiveSerial; }
    static bool isLive(TparamCurve const* curve, std::uint64_t serial);

    // --- Infinities (curve/paramCurveEdit.cpp) -----------------------------
    TparamCurveEnums::TinfinityType preInfinityType() const { return fPreInfinity; }
    TparamCurveEnums::TinfinityType postInfinityType() const { return fPostInfinity; }
    // Types 1, 3, 4 and 5 are stored as given; every other value as 0. On a
    // rotation channel with siblings, all three channels change.
    bool setPreInfinityType(TparamCurveEnums::TinfinityType type);
    bool setPostInfinityType(TparamCurveEnums::TinfinityType type);

    // --- Static conditions and caches (curve/paramCurve.cpp) --------------
    bool isStatic() const { return fCurveFlags.isSet(kStaticBit); }
    void checkStaticValueCondition(unsigned index);
    void checkStaticTanCondition(unsigned index);
    // Makes evaluation forget what it remembers of the keys: the last span
    // and its cubic, the cached key, and the copy of the key times from key
    // `index` on (-1: all). The curve's own edits call it; a host that
    // changes key objects directly calls it before evaluating again.
    void invalidateCache(int index = -1);
    void markDirty();
    // Snapshots of each key's index, by key address; nested.
    void recordKeyIndices();
    unsigned recordedKeyIndex(Tkeyframe* key) const;
    bool hasRecordedKeyIndices() const { return fRecordedIndices != nullptr; }
    void deleteRecordedKeyIndices();

    // --- Flags, locks and host context (curve/paramCurve.cpp) -------------
    TbitField32 curveFlags() const { return fCurveFlags; }
    // The weighting bit decides each span's segment kind: changing it makes
    // evaluation forget the spans it remembers.
    void setCurveFlag(TcurveFlagBit bit, bool on)
    {
        bool const reweighted = bit == kWeightedBit && fCurveFlags.isSet(bit) != on;
        fCurveFlags.setTo(bit, on);
        if (reweighted) {
            invalidateCache();
        }
    }
    bool isWeighted() const { return fCurveFlags.isSet(kWeightedBit); }
    // Channels the host has locked (change-mask bits).
    void setLockedParams(unsigned mask) { fLockedParams = mask; }
    unsigned lockedParams() const { return fLockedParams; }
    bool anyParamsLocked(unsigned mask) const { return (fLockedParams & mask) != 0; }
    // Whether curves from referenced files may be edited (a preference).
    static bool refAnimCurvesEditable();
    void setHostHooks(ThostHooks const& hooks, bool enabled);
    bool hostHooksEnabled() const { return fHostHooksEnabled; }
    // The rotation triple; without hooks, this curve alone and false.
    bool getSiblingRotationCurves(TparamCurve** x, TparamCurve** y, TparamCurve** z, bool = false) const;
    void setNLEData(TNLEData const* data);
    TNLEData const* nleData() const { return fNleData; }

    // --- Key selection (editing/pickKey.cpp) ---
    // Whether the curve's keys may be picked: not while the curve comes from
    // a referenced file and referenced curves are not editable.
    bool canSelect() const;

    // --- Change bracket (curve/changeBracket.cpp) -------------------------
    bool beginChange(unsigned mask);
    void endChange(bool modified);
    void notifyClientsOfChange(Tkeyframe* key, int kind);
    unsigned changeDepth() const { return fChangeDepth; }

    // --- Library-wide messaging (curve/changeBracket.cpp, curve/msgDepot) --
    static TparamCurveMsgDepot& globalMsgDepot();
    static bool addGlobalClient(Tclient* client, TclientCallback callback);
    static bool addGlobalHelper(Tclient* client, TclientCallback callback);
    static bool removeGlobalClient(Tclient* client);
    static void delayMessages();
    static bool suspendUpdates(bool on);
    static void resumeMessagesAndUpdate();
    // Tells the host's model that curves are changing; called at most once
    // per outermost change bracket, through the host's hook when one is set.
    static void disableAnimCurveModelUpdates();
    static void (*fsModelUpdatesHook)();
    // While true, no curve sends change messages.
    static bool fsSuppressChangeMessages;

    // --- Printing (curve/paramCurve.cpp) ----------------------------------
    void debugOutput(TdebugOutput& out) const;

    // --- Statics -----------------------------------------------------------
    static thread_local TtimeValue fsTimeValue;
    // Bytes a key costs its curve: the key and its slot in the array.
    static constexpr unsigned sfDataPerKeyframe =
        sizeof(Tkeyframe) + sizeof(Tkeyframe*);  // NOLINT(bugprone-sizeof-expression)
    // Makes evaluation step every span (blocking-mode playback).
    static bool fsOverrideTangentsForBlockingMode;

private:
    friend class TcurveEditKit;
    friend class TcurveEvaluator;
    friend class TevalCursor;

    // Storage helpers shared by the edits.
    unsigned arrayCount() const { return fTickKeys != nullptr ? fTickKeys->count() : fFloatKeys->count(); }
    // The slot holding this key object, compared by address only.
    unsigned slotOf(Tkeyframe const* key) const;
    bool acceptsTimeForm(TtimeValue const& time) const;
    TtimeValue storedTime(TtimeValue const& time) const;
    Tkeyframe* newKeyCopy(Tkeyframe const& source) const;
    unsigned insertPointer(Tkeyframe* key);
    bool insertPointerAt(Tkeyframe* key, unsigned index);
    template <class Array> static bool findIn(Array const& keys, typename Array::Key probe, unsigned& index);
    bool removePointerAt(unsigned index);
    void replaceKeyArray();
    void copySettingsFrom(TparamCurve const& other);
    void copyKeysFrom(TparamCurve const& other);
    bool applyInfinityType(bool pre, TparamCurveEnums::TinfinityType type);
    void storeInfinityType(bool pre, TparamCurveEnums::TinfinityType type);
    bool mergeBlock(TanimTime const* times, double const* values, unsigned count, TtangentType in, TtangentType out,
                    unsigned& firstChanged);
    // Removes key i: the key is handed back through `detached` when that is
    // given, else recorded for undo (as `record` when given), else deleted.
    bool removeOne(unsigned index, Tkeyframe const* record, Tkeyframe** detached);
    bool placeKey(Tkeyframe* key, bool keepTangents, bool returning);
    // Deletes a key object that no undo record takes.
    void deleteUnrecorded(Tkeyframe* key);
    // Records `delta` when a modification is open; deletes it otherwise.
    void record(Tdelta* delta);
    // The journal of the tangents an outermost change re-derives, opened
    // when the change begins in a modification; closing hands it to the
    // last record the change made.
    void openTangentJournal();
    void closeTangentJournal();
    // Key `key` as the open change found it: with the tangents it had before
    // the change first re-derived them, if it did.
    Tkeyframe keyAsTheChangeFoundIt(Tkeyframe const& key) const;
    bool setKeyFlag(unsigned index, unsigned mask, Tkeyframe::TflagBit bit, bool on, int kind);
    bool readsNeighbourTangents(unsigned index) const;
    void registerLive();
    void unregisterLive();
    template <class Retype> bool retypeTangents(unsigned index, Retype&& retype);
    // replaceKey's parts: whether `replacement` can overwrite `old` in place,
    // and the overwrite with what follows it (no bracket, no record).
    bool fitsInPlace(Tkeyframe const* old, Tkeyframe const& replacement) const;
    void writeInPlace(Tkeyframe* old, Tkeyframe const& replacement);
    // A key's contents put back by an undo record inside its own bracket: the
    // edit it undoes changed the key under that edit's mask, whatever a
    // replacement's mask would say (see TcurveEditKit::putBackKey).
    bool putBackKey(Tkeyframe* key, Tkeyframe const& contents);
    void recordTangentEdit(unsigned index, Tkeyframe const& before);
    // A rotation channel in a quaternion mode: its value is its angle of
    // the triple's rotation. The mode is tested first, the common path's
    // only compare.
    bool evaluatesAsRotation() const
    {
        return fRotationInterpolation >= TparamCurveEnums::kQuaternionTangentDependent && isRotationCurve();
    }
    // evaluate() where a span's arithmetic overflowed (see the source).
    double evaluateNearTheLimit(TtimeValue const& time);
    // Recomputes keys from..to except `keep`, and the plateau keys the
    // change reaches beyond them.
    void recomputeWindow(unsigned from, unsigned to, unsigned keep);
    bool siblingsOrSelf(bool allChannels, TparamCurve* channels[3]);
    static bool allChannelsAccept(TparamCurve* const channels[3], unsigned mask);
    bool storeValue(unsigned index, double value, float aux);
    // Both static conditions for a key that joined or changed.
    void recheckStatic(unsigned index);
    // The keys around `index` changed: drop the evaluation cache and renew
    // the interpolation methods of the spans that touch the key; the
    // tangents that depend on neighbours are rebuilt here.
    void keysChangedAround(unsigned index, bool keepTangentsAtIndex);
    // The value (and auxiliary component) a new key of this rotation channel
    // at `time` stores to keep the triple's rotation; false unless the curve
    // is evaluated through a complete triple.
    bool rotationKeyComponents(TtimeValue const& time, double& value, double& aux);
    // Moves key `index` to a host time, keeping the array in order: the
    // key's new index, or kArrayFailure (nothing changed) when another key
    // lies at that time. No bracket, no message.
    unsigned retimeKey(unsigned index, TtimeValue const& time);
    // Puts the key array back in time order after times were written in
    // place; false (nothing reordered) when two keys share a time.
    bool restoreKeyOrder();
    // Every key changed: tangents that follow neighbours, span methods and
    // evaluation caches are renewed.
    void allKeysChanged();
    bool splitSpanAt(TtimeValue const& time, Tkeyframe& made, float neighbourTangents[4], bool& reshapes);
    // Seconds as the host sees them, without the detour through TtimeValue
    // for float curves.
    double hostSeconds(Tkeyframe const* key) const
    {
        return fTickKeys == nullptr ? double(key->floatTime()) : doubleSeconds(key);
    }
    // The evaluator, built in fEvaluatorSpace (defined beside it).
    inline TcurveEvaluator& evaluator();
    inline TcurveEvaluator const& evaluator() const;

    unsigned fCurveKind = kDefaultCurveKind;
    ThostHooks fHostHooks;
    bool fHostHooksEnabled = false;
    TfloatKeyframePtrArray* fFloatKeys = nullptr;
    TanimTimeKeyframePtrArray* fTickKeys = nullptr;
    TNLEData const* fNleData = nullptr;
    TbitField32 fCurveFlags;
    std::uint16_t fChangeDepth = 0;
    bool fChangeAnswer = true;
    bool fModified = false;
    TparamCurveEnums::TinfinityType fPreInfinity = TparamCurveEnums::kConstant;
    TparamCurveEnums::TinfinityType fPostInfinity = TparamCurveEnums::kConstant;
    unsigned fLockedParams = 0;
    TkeyframeIndexTable* fRecordedIndices = nullptr;
    unsigned fRecordedIndicesDepth = 0;
    // The re-derived tangents of the change in progress, in a modification,
    // and how many records the modification held when the change began.
    TtangentJournal* fTangentJournal = nullptr;
    unsigned fRecordsBeforeChange = 0;
    // Keys deleted without an add/delete message / without a record.
    unsigned fSilentKeyDrops = 0;
    std::uint64_t fLiveSerial = 0;
    // Counts invalidateCache() calls: cursors that served the curve before
    // the last one start afresh.
    std::uint64_t fEvaluationEdits = 0;
    unsigned fUnrecordedDeletions = 0;
    T2dAnimCurve* fTangentSegment = nullptr;
    // What an edit in progress keeps between calls (a move's keys, the
    // breakdown cache); owned, made by the editing subsystem on demand.
    TcurveEditSession* fEditSession = nullptr;
    TparamCurveEnums::TrotationInterpolation fRotationInterpolation = TparamCurveEnums::kEulerAngles;
    // What evaluation remembers between calls lives in a private evaluator,
    // built in place here so that evaluation reaches it without a pointer
    // hop; its size is checked where it is defined.
    static constexpr std::size_t kEvaluatorSpace = 224;
    static constexpr std::size_t kEvaluatorAlign = 16;
    alignas(kEvaluatorAlign) std::byte fEvaluatorSpace[kEvaluatorSpace];
};
