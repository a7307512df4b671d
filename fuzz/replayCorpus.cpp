// Runs every saved fuzz input (the files of the folders or the files given)
// through the same session as the fuzzer, with the ordinary compiler, so
// that the corpus is checked wherever the tests run.

#include "fuzz/fuzzSession.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

bool replayFile(std::filesystem::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    std::vector<std::uint8_t> const bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    runFuzzInput(bytes.data(), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    unsigned replayed = 0;
    bool readable = true;
    for (int a = 1; a < argc; ++a) {
        std::filesystem::path const given(argv[a]);
        if (std::filesystem::is_directory(given)) {
            for (auto const& entry : std::filesystem::directory_iterator(given)) {
                if (entry.is_regular_file()) {
                    readable = replayFile(entry.path()) && readable;
                    ++replayed;
                }
            }
        } else {
            readable = replayFile(given) && readable;
            ++replayed;
        }
    }
    std::printf("replayed %u fuzz input(s)\n", replayed);
    return readable && replayed > 0 ? 0 : 1;
}
