// The undo property at length: random edit sequences on random curves of
// both time forms (and the museum's curves first), each undone, redone and
// undone again, checked exact. Not a unit test: scripts/soak.sh runs it.
//
//   undo_soak [sequences] [seed] [kinds to skip]   (defaults: 1,000,000, 2026,
//   none; kinds are the random editor's edit numbers, e.g. "20 21")
//
// Prints the sequences per second, and the seed and sequence of the first
// failure, which replays alone as `undo_soak <sequence + 1> <seed>`.

#include "support/museum.h"
#include "support/randomEditor.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv)
{
    unsigned long const sequences = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000UL;
    unsigned const seed = argc > 2 ? unsigned(std::strtoul(argv[2], nullptr, 10)) : 2026u;
    auto const& museum = keeltest::museum();
    keeltest::TrandomEditor editor(seed);
    if (argc > 3) {
        editor.skip(argv[3]);
    }
    auto const start = std::chrono::steady_clock::now();
    for (unsigned long sequence = 0; sequence < sequences; ++sequence) {
        auto curve =
            sequence < museum.size() ? museum[sequence].fBuild() : keeltest::randomCurve(editor, sequence % 2 == 0);
        std::string const broke = keeltest::undoSequence(editor, *curve);
        if (!broke.empty()) {
            std::printf("FAILED: seed %u, sequence %lu: %s\n", seed, sequence, broke.c_str());
            return 1;
        }
        if ((sequence + 1) % 100000 == 0) {
            double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            std::printf("%lu sequences, %.0f per second\n", sequence + 1, double(sequence + 1) / seconds);
            std::fflush(stdout);
        }
    }
    double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("passed: %lu sequences (seed %u) in %.1f s, %.0f per second\n", sequences, seed, seconds,
                double(sequences) / seconds);
    return 0;
}
