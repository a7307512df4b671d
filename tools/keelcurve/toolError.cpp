#include "toolError.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

void fail(std::string const& file, std::string const& place, std::string const& what)
{
    std::string message = file + ": ";
    if (!place.empty()) {
        message += place + ": ";
    }
    std::string oneLine = what;
    std::replace_if(
        oneLine.begin(), oneLine.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    while (!oneLine.empty() && oneLine.back() == ' ') {
        oneLine.pop_back();
    }
    throw TtoolFailure(message + oneLine);
}

void failOption(std::string const& option, std::string const& what)
{
    throw TtoolFailure(option + ": " + what);
}

void checkCommandTime(double seconds, std::string const& option)
{
    if (!std::isfinite(seconds) || std::fabs(seconds) > kMaxCommandTime) {
        failOption(option, "not a usable time");
    }
}

std::string readWholeFile(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        fail(path, "", std::strerror(errno));
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        fail(path, "", "read error");
    }
    return text.str();
}
