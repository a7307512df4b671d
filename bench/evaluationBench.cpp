// Evaluation benchmarks: ns per evaluation for Hermite and weighted Bezier
// curves of 8 to 65,536 keys, swept in small steps, at random times, and far
// into cycling and oscillating infinities.

#include <keelanim/keelanim.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

namespace {

constexpr float kFrame = 1.0f / 24.0f;

// Keys one second apart with random values and tangents; for weighted
// curves the handles sit off the thirds of their spans.
std::unique_ptr<TparamCurve> benchCurve(unsigned count, bool weighted)
{
    auto curve = std::make_unique<TparamCurve>(true);
    curve->setCurveFlag(TparamCurve::kWeightedBit, weighted);
    std::mt19937 random(count);
    std::uniform_real_distribution<float> value(-10.0f, 10.0f);
    std::uniform_real_distribution<float> weight(0.5f, 1.8f);
    TanimTimeArray times;
    TdoubleArray values;
    for (unsigned i = 0; i < count; ++i) {
        times.addLast(TanimTime::fromTicks(int(i) * kTicksPerSecond));
        values.addLast(value(random));
    }
    curve->blockAdd(times, values, kTangentFixed, kTangentFixed);
    for (unsigned i = 0; i < count; ++i) {
        Tkeyframe* key = curve->keyframe(i);
        float const slope = value(random) * 0.3f;
        key->setTanIn(weighted ? weight(random) : 1.0f, slope);
        key->setTanOut(weighted ? weight(random) : 1.0f, slope);
    }
    curve->invalidateCache();
    return curve;
}

void sequential(benchmark::State& state, bool weighted)
{
    auto const count = static_cast<unsigned>(state.range(0));
    auto curve = benchCurve(count, weighted);
    float const end = float(count - 1);
    float t = 0.0f;
    for (auto _ : state) {
        benchmark::DoNotOptimize(curve->evaluate(t));
        t += kFrame;
        if (t > end) {
            t = 0.0f;
        }
    }
}

void randomTimes(benchmark::State& state, bool weighted)
{
    auto const count = static_cast<unsigned>(state.range(0));
    auto curve = benchCurve(count, weighted);
    std::mt19937 random(3);
    std::uniform_real_distribution<float> when(0.0f, float(count - 1));
    std::vector<float> times(4096);
    for (float& t : times) {
        t = when(random);
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(curve->evaluate(times[next]));
        next = (next + 1) & 4095;
    }
}

void infinity(benchmark::State& state, TparamCurveEnums::TinfinityType type)
{
    auto const count = static_cast<unsigned>(state.range(0));
    auto curve = benchCurve(count, false);
    curve->setPostInfinityType(type);
    float const start = float(count) * 50.0f;
    float t = start;
    for (auto _ : state) {
        benchmark::DoNotOptimize(curve->evaluate(t));
        t += kFrame;
        if (t > start + float(count) * 3.0f) {
            t = start;
        }
    }
}

void BM_HermiteSequential(benchmark::State& state)
{
    sequential(state, false);
}
void BM_BezierSequential(benchmark::State& state)
{
    sequential(state, true);
}
void BM_HermiteRandom(benchmark::State& state)
{
    randomTimes(state, false);
}
void BM_BezierRandom(benchmark::State& state)
{
    randomTimes(state, true);
}
void BM_CycleInfinity(benchmark::State& state)
{
    infinity(state, TparamCurveEnums::kCycle);
}
void BM_OscillateInfinity(benchmark::State& state)
{
    infinity(state, TparamCurveEnums::kOscillate);
}

BENCHMARK(BM_HermiteSequential)->Arg(8)->Arg(64)->Arg(1024)->Arg(65536);
BENCHMARK(BM_BezierSequential)->Arg(8)->Arg(64)->Arg(1024)->Arg(65536);
BENCHMARK(BM_HermiteRandom)->Arg(8)->Arg(64)->Arg(1024)->Arg(65536);
BENCHMARK(BM_BezierRandom)->Arg(8)->Arg(64)->Arg(1024)->Arg(65536);
BENCHMARK(BM_CycleInfinity)->Arg(8)->Arg(64)->Arg(1024)->Arg(65536);
BENCHMARK(BM_OscillateInfinity)->Arg(8)->Arg(64)->Arg(1024)->Arg(65536);

}  // namespace
