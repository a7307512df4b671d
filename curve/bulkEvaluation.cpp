// TparamCurve: evaluation in bulk. Times that come in increasing order are
// evaluated as they come; others are visited in increasing order (through a
// radix sort of their indices), so that every evaluation after the first
// lands in or next to the span of the one before, the sweep path, whatever
// order the host gave them in. Each value is the one a single evaluation at
// that time gives: evaluation does not depend on the order of the times.

#include "keelanim/curve/paramCurve.h"

#include "keelanim/base/numeric.h"
#include "keelanim/curve/evalCursor.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace {

// Fewer times than this are evaluated as they come: sorting them would cost
// more than it saves.
constexpr std::size_t kSortFrom = 64;
constexpr int kDigitBits = 11;
constexpr std::uint64_t kDigitMask = (std::uint64_t(1) << kDigitBits) - 1;

// An unsigned key in the order of the float (NaNs end up at either end).
std::uint32_t sweepKey(float seconds)
{
    auto const bits = std::bit_cast<std::uint32_t>(seconds);
    return (bits & 0x80000000u) != 0 ? ~bits : (bits | 0x80000000u);
}

std::uint32_t sweepKey(TtimeValue const& time)
{
    return sweepKey(narrowToFloat(time.seconds()));
}

// Entries (key << 32 | index) in increasing key order: a least significant
// digit first radix sort, three passes of 11 bits over the key. The scratch
// is the calling thread's, kept between calls.
template <class Time> std::vector<std::uint64_t> const& sweepOrder(std::span<Time const> times)
{
    thread_local std::vector<std::uint64_t> order;
    thread_local std::vector<std::uint64_t> spare;
    order.resize(times.size());
    spare.resize(times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        order[i] = std::uint64_t(sweepKey(times[i])) << 32 | std::uint64_t(i);
    }
    for (int shift = 32; shift < 64; shift += kDigitBits) {
        std::array<std::size_t, kDigitMask + 2> starts{};
        for (std::uint64_t entry : order) {
            ++starts[((entry >> shift) & kDigitMask) + 1];
        }
        for (std::size_t d = 1; d < starts.size(); ++d) {
            starts[d] += starts[d - 1];
        }
        for (std::uint64_t entry : order) {
            spare[starts[(entry >> shift) & kDigitMask]++] = entry;
        }
        order.swap(spare);
    }
    return order;
}

template <class Time> bool inSweepOrder(std::span<Time const> times)
{
    for (std::size_t i = 1; i < times.size(); ++i) {
        if (sweepKey(times[i]) < sweepKey(times[i - 1])) {
            return false;
        }
    }
    return true;
}

// values[i] = valueAt(times[i]) for every i, visiting the times in
// increasing order. False, writing nothing, when `values` is too short.
template <class Time, class ValueAt>
bool evaluateAll(std::span<Time const> times, std::span<double> values, ValueAt&& valueAt)
{
    if (values.size() < times.size()) {
        return false;
    }
    if (times.size() < kSortFrom || times.size() > std::numeric_limits<std::uint32_t>::max() || inSweepOrder(times)) {
        for (std::size_t i = 0; i < times.size(); ++i) {
            values[i] = valueAt(times[i]);
        }
        return true;
    }
    for (std::uint64_t const entry : sweepOrder(times)) {
        auto const i = static_cast<std::size_t>(entry & 0xffffffffu);
        values[i] = valueAt(times[i]);
    }
    return true;
}

}  // namespace

bool TparamCurve::evaluate(std::span<TtimeValue const> times, std::span<double> values)
{
    return evaluateAll(times, values, [this](TtimeValue const& time) { return evaluate(time); });
}

bool TparamCurve::evaluate(std::span<float const> seconds, std::span<double> values)
{
    return evaluateAll(seconds, values, [this](float time) { return evaluate(time); });
}

bool TparamCurve::evaluate(std::span<TtimeValue const> times, std::span<double> values, TevalCursor& cursor) const
{
    return evaluateAll(times, values, [this, &cursor](TtimeValue const& time) { return evaluate(time, cursor); });
}

bool TparamCurve::evaluate(std::span<TparamCurve* const> curves, TtimeValue const& time, std::span<double> values)
{
    if (values.size() < curves.size()) {
        return false;
    }
    for (std::size_t i = 0; i < curves.size(); ++i) {
        values[i] = curves[i] != nullptr ? curves[i]->evaluate(time) : 0.0;
    }
    return true;
}
