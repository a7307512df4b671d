// The libFuzzer entry point (built with clang's -fsanitize=fuzzer).

#include "fuzz/fuzzSession.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    runFuzzInput(data, size);
    return 0;
}
