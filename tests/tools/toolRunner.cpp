#include "toolRunner.h"

#include "curveFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

namespace {

// Single quotes keep every byte of an argument as it is, for /bin/sh.
std::string shellQuoted(std::string const& text)
{
    std::string quoted = "'";
    for (char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

}  // namespace

TrunResult runKeelcurve(std::vector<std::string> const& args)
{
    TscratchDir capture;
    std::string command = shellQuoted(KEELCURVE_BINARY);
    for (std::string const& arg : args) {
        command += " " + shellQuoted(arg);
    }
    command += " >" + shellQuoted(capture.file("out")) + " 2>" + shellQuoted(capture.file("err")) + " </dev/null";
    int const raw = std::system(command.c_str());
    TrunResult result;
    result.fStatus = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    result.fOut = readText(capture.file("out"));
    result.fErr = readText(capture.file("err"));
    return result;
}

TscratchDir::TscratchDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "keelcurve-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot make a scratch directory");
    }
    fPath = pattern;
}

TscratchDir::~TscratchDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(fPath, ignored);
}

std::vector<std::string> TscratchDir::listing() const
{
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(fPath)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string assimpModel(std::string const& relative)
{
    return std::string(KEEL_ASSIMP_GLTF_DIR) + "/" + relative;
}

std::string generatedSample(std::string const& name)
{
    return std::string(KEEL_TOOLS_DATA_DIR) + "/" + name;
}

std::string readText(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeText(std::string const& path, std::string const& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

TcurveSet importThroughTool(TscratchDir const& scratch, std::string const& gltf, std::string const& json)
{
    TrunResult const run = runKeelcurve({"import-gltf", gltf, "-o", scratch.file(json)});
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    return curvesFromText(readText(scratch.file(json)), json);
}

std::vector<std::string> linesOf(std::string const& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}
