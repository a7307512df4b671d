// The C++ side of the Python bake benchmark (python/bench/bake_bench.py):
// bakes every curve of a curve file as a C++ host would, one array of
// times and one of values per curve, and prints the fastest of a few runs.
//
//   keel_bake_timing CURVES.json FPS FRAMES [RUNS]
//
// prints "seconds S" (the fastest run) and "checksum C" (the sum of every
// baked value, so that the Python side can show it did the same work).

#include <curveFile.h>
#include <toolError.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

namespace {

struct Tbake {
    double fSeconds = 0.0;
    double fChecksum = 0.0;
};

Tbake bakeAll(TcurveSet const& curves, double fps, std::size_t frames)
{
    auto const started = std::chrono::steady_clock::now();
    double checksum = 0.0;
    for (TnamedCurve const& named : curves) {
        std::vector<double> times(frames);
        std::vector<double> values(frames);
        for (std::size_t i = 0; i < frames; ++i) {
            times[i] = bakeTime(0.0, double(i), fps);
            values[i] = named.fCurve->evaluate(static_cast<float>(times[i]));
        }
        checksum += values.back() + values.front();
    }
    std::chrono::duration<double> const spent = std::chrono::steady_clock::now() - started;
    return {spent.count(), checksum};
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fprintf(stderr, "usage: keel_bake_timing CURVES.json FPS FRAMES [RUNS]\n");
        return 2;
    }
    try {
        TcurveSet const curves = readCurveFile(argv[1]);
        double const fps = std::stod(argv[2]);
        auto const frames = static_cast<std::size_t>(std::stoul(argv[3]));
        int const runs = argc > 4 ? std::stoi(argv[4]) : 5;
        Tbake best{std::numeric_limits<double>::infinity(), 0.0};
        for (int run = 0; run < runs; ++run) {
            Tbake const bake = bakeAll(curves, fps, frames);
            best = bake.fSeconds < best.fSeconds ? bake : best;
        }
        std::printf("seconds %.9f\nchecksum %.17g\n", best.fSeconds, best.fChecksum);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "keel_bake_timing: %s\n", error.what());
        return 2;
    }
    return 0;
}
