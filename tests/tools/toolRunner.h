#pragma once

#include "curveSet.h"

#include <filesystem>
#include <string>
#include <vector>

// Runs the built keelcurve binary the way a user does and collects what it
// said; the scratch directory holds each test's files and goes with it.

struct TrunResult {
    int fStatus = -1;
    std::string fOut;
    std::string fErr;
};

// Runs `keelcurve ARGS...` with stdout and stderr captured (stderr is not a
// terminal, so no progress line appears).
TrunResult runKeelcurve(std::vector<std::string> const& args);

// A fresh directory under the system's temporary directory, removed with
// everything in it when the object goes.
class TscratchDir {
public:
    TscratchDir();
    TscratchDir(TscratchDir const&) = delete;
    TscratchDir& operator=(TscratchDir const&) = delete;
    ~TscratchDir();

    std::filesystem::path const& path() const { return fPath; }
    std::string file(std::string const& name) const { return (fPath / name).string(); }
    // The names of the files in the directory, sorted.
    std::vector<std::string> listing() const;

private:
    std::filesystem::path fPath;
};

// Sample files: the Debian glTF 2.0 models and the generated ones.
std::string assimpModel(std::string const& relative);
std::string generatedSample(std::string const& name);

std::string readText(std::string const& path);
void writeText(std::string const& path, std::string const& text);

// Imports a glTF file through the binary and reads the curves it wrote.
TcurveSet importThroughTool(TscratchDir const& scratch, std::string const& gltf, std::string const& json);

// Names a parameterised test after its case's fLabel.
template <class T> std::string labelOf(T const& param)
{
    return param.param.fLabel;
}

// The lines of a text.
std::vector<std::string> linesOf(std::string const& text);
