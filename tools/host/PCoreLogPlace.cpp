// SPDX-License-Identifier: MIT
#include "host/PCoreLogPlace.h"

#include "helpers/Text.h"
#include "portinglayer/PUtils.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
int _createMemory()
{
    return memfd_create("ixla-host core log", MFD_CLOEXEC | MFD_ALLOW_SEALING);
}

std::string _absolute(const std::string& iPath)
{
    std::error_code error;
    const std::filesystem::path path = std::filesystem::absolute(iPath, error);
    return error ? iPath : path.string();
}

bool _isDetailed(const PHostOptions& iOptions)
{
    int level = 0;
    PString text;
    // The core refuses to start with a level that is no number.
    return !iOptions.find(L"core.log.level", text) || PUtils::strToInt32(text, level) != 0 ||
           level >= 0;
}

bool _isDisabled(const PHostOptions& iOptions)
{
    bool enable = true;
    PString text;
    return iOptions.find(L"core.log.enable", text) && PUtils::strToBool(text, enable) == 0 &&
           !enable;
}
} // namespace

PCoreLogPlace::PCoreLogPlace(const PHostOptions& iOptions)
    : fFile(iOptions.pathOf(L"core.log.file")),
      fArguments(iOptions.fCoreArguments),
      fHasDetails(_isDetailed(iOptions)),
      fMemory(-1)
{
    if (_isDisabled(iOptions))
    {
        return;
    }
    if (fFile.empty())
    {
        openMemory();
    }
    else
    {
        fPath = _absolute(fFile);
    }
}

// Without /proc the core would create the directories of the path.
void PCoreLogPlace::openMemory()
{
    fMemory = PFileDescriptor(_createMemory());
    const std::string path = "/proc/self/fd/" + std::to_string(fMemory.get());
    if (fMemory && access(path.c_str(), R_OK | W_OK) == 0)
    {
        fPath = path;
        fArguments.push_back(ixlaWide("core.log.file=" + path));
    }
}

const std::vector<PString>& PCoreLogPlace::arguments() const
{
    return fArguments;
}

const std::string& PCoreLogPlace::file() const
{
    return fFile;
}

const std::string& PCoreLogPlace::path() const
{
    return fPath;
}

bool PCoreLogPlace::hasDetails() const
{
    return fHasDetails;
}

void PCoreLogPlace::endMemory()
{
    if (fMemory)
    {
        // If it fails, the memory grows by some lines.
        static_cast<void>(fcntl(fMemory.get(), F_ADD_SEALS, F_SEAL_GROW | F_SEAL_WRITE));
    }
}
