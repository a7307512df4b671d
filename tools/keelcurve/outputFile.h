#pragma once

#include <string>

// TpendingOutput: an output file that appears whole or not at all. Writers
// write to tempPath(), a fresh file in the same directory (so that the final
// rename stays on one file system); commit() renames it over the real path.
// An output never committed is removed when this object goes, which is what
// happens when a command fails half way.
class TpendingOutput {
public:
    // Creates the temporary file; fails naming `path` when its directory
    // does not take one.
    explicit TpendingOutput(std::string path);
    TpendingOutput(TpendingOutput const&) = delete;
    TpendingOutput& operator=(TpendingOutput const&) = delete;
    ~TpendingOutput();

    std::string const& path() const { return fPath; }
    std::string const& tempPath() const { return fTempPath; }
    // Moves the finished temporary file to the real path.
    void commit();

private:
    std::string fPath;
    std::string fTempPath;
    bool fCommitted = false;
};

// Writes `bytes` to `path` through a TpendingOutput.
void writeFileWhole(std::string const& path, std::string const& bytes);
