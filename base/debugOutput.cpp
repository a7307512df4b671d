#include "keelanim/base/debugOutput.h"

#include <cstdarg>

namespace {
constexpr int kLineCapacity = 1024;
}  // namespace

TdebugOutput::~TdebugOutput() = default;

void TdebugOutput::print(char const* format, ...)
{
    if (format == nullptr) {
        return;
    }
    char line[kLineCapacity];
    va_list arguments;
    va_start(arguments, format);
    int const written = std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    if (written >= 0) {
        write(line);
    }
}

void TdebugOutput::write(char const* text)
{
    if (fStream != nullptr) {
        std::fputs(text, fStream);
    }
}
