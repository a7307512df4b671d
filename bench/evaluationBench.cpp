// Evaluation benchmarks: ns per evaluation for Hermite and weighted Bezier
// curves of 8 to 65,536 keys, swept in small steps, at random times, and far
// into cycling and oscillating infinities.

#include "support/referenceEvaluator.h"

#include <keelanim/keelanim.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

namespace {

constexpr float kFrame = 1.0f / 24.0f;

std::unique_ptr<TparamCurve> benchCurve(unsigned count, bool weighted)
{
    return keelref::benchCurve(count, weighted ? keelref::Tkind::kBezier : keelref::Tkind::kHermite, count);
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
