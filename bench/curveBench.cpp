// Curve storage benchmarks: building curves and finding keys.

#include <keelanim/keelanim.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace {

// Keys appended in time order: the insertion fast path, no search.
void BM_BuildInTimeOrder(benchmark::State& state)
{
    auto const count = static_cast<unsigned>(state.range(0));
    bool const floatTime = state.range(1) != 0;
    for (auto _ : state) {
        TparamCurve curve(floatTime);
        for (unsigned i = 0; i < count; ++i) {
            if (floatTime) {
                curve.add(Tkeyframe(float(i) / 24.0f, double(i), kTangentFixed, kTangentFixed));
            } else {
                curve.add(Tkeyframe(TanimTime::fromTicks(int(i) * 250), double(i), kTangentFixed, kTangentFixed));
            }
        }
        benchmark::DoNotOptimize(curve.keyframeCount());
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_BuildInTimeOrder)->Args({1'000'000, 1})->Args({1'000'000, 0})->Unit(benchmark::kMillisecond);

// One blockAdd of keys in random order.
void BM_BlockAddRandomOrder(benchmark::State& state)
{
    auto const count = static_cast<unsigned>(state.range(0));
    TanimTimeArray times;
    TdoubleArray values;
    std::mt19937 random(1);
    for (unsigned i = 0; i < count; ++i) {
        times.addLast(TanimTime::fromTicks(int(i) * 250));
        values.addLast(double(i));
    }
    std::shuffle(times.begin(), times.end(), random);
    for (auto _ : state) {
        TparamCurve curve(false);
        curve.blockAdd(times, values, kTangentFixed, kTangentFixed);
        benchmark::DoNotOptimize(curve.keyframeCount());
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_BlockAddRandomOrder)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

// find() at random times of a curve of N keys.
void BM_FindRandom(benchmark::State& state)
{
    auto const count = static_cast<unsigned>(state.range(0));
    TparamCurve curve(true);
    for (unsigned i = 0; i < count; ++i) {
        curve.add(Tkeyframe(float(i) / 24.0f, double(i), kTangentFixed, kTangentFixed));
    }
    std::mt19937 random(2);
    std::uniform_real_distribution<float> when(0.0f, float(count) / 24.0f);
    std::vector<TtimeValue> probes;
    for (int i = 0; i < 4096; ++i) {
        probes.emplace_back(when(random));
    }
    std::size_t next = 0;
    unsigned index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(curve.find(probes[next], index));
        next = (next + 1) & 4095;
    }
}
BENCHMARK(BM_FindRandom)->Arg(1'000)->Arg(1'000'000);

}  // namespace
