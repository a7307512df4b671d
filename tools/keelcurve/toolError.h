#pragma once

#include <stdexcept>
#include <string>

// TtoolFailure: a failure of one command, reported as one line naming the
// file and the place in it, after which the tool exits with kExitBadInput.
// Commands throw it where they find the problem; main() is the only place
// that catches it, so nothing is written after it is thrown.
class TtoolFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The tool's exit statuses.
inline constexpr int kExitOk = 0;
inline constexpr int kExitBadInput = 2;

// Throws "FILE: PLACE: WHAT", or "FILE: WHAT" without a place. Line breaks in
// WHAT (third-party messages have them) become spaces: the report is one line.
[[noreturn]] void fail(std::string const& file, std::string const& place, std::string const& what);

// Throws "OPTION: WHAT" for a command-line value the command cannot use.
[[noreturn]] void failOption(std::string const& option, std::string const& what);

// Times beyond this many seconds are refused on the command line: the
// engine evaluates float seconds, and these stay far inside a float's range.
inline constexpr double kMaxCommandTime = 1e30;

// Fails for a time that is not finite or beyond kMaxCommandTime.
void checkCommandTime(double seconds, std::string const& option);

// Reads a whole file; fails naming it when it cannot be read.
std::string readWholeFile(std::string const& path);
