#include "outputFile.h"

#include "toolError.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

TpendingOutput::TpendingOutput(std::string path) : fPath(std::move(path))
{
    std::string pattern = fPath + ".tmp-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    int const descriptor = mkstemp(name.data());
    if (descriptor < 0) {
        fail(fPath, "", std::string("cannot create output: ") + std::strerror(errno));
    }
    // mkstemp makes the file private; an output takes the usual permissions.
    mode_t const mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666 & ~mask);
    close(descriptor);
    fTempPath = name.data();
}

TpendingOutput::~TpendingOutput()
{
    if (!fCommitted) {
        std::remove(fTempPath.c_str());
    }
}

void TpendingOutput::commit()
{
    if (std::rename(fTempPath.c_str(), fPath.c_str()) != 0) {
        fail(fPath, "", std::string("cannot write output: ") + std::strerror(errno));
    }
    fCommitted = true;
}

void writeFileWhole(std::string const& path, std::string const& bytes)
{
    TpendingOutput output(path);
    {
        std::ofstream out(output.tempPath(), std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        out.flush();
        if (!out) {
            fail(path, "", "write error");
        }
    }
    output.commit();
}
