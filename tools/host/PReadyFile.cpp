// SPDX-License-Identifier: MIT
#include "host/PReadyFile.h"

#include "shared/PFileDescriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr mode_t kMode = 0644;

std::string _directoryOf(const std::string& iPath)
{
    const std::size_t slash = iPath.rfind('/');
    return slash == std::string::npos ? "." : iPath.substr(0, slash + 1);
}

int _write(const std::string& iPath, const std::string& iText)
{
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    PFileDescriptor file(open(iPath.c_str(), flags, kMode));
    if (!file)
    {
        return errno;
    }
    const int written = file.writeAll(iText);
    const int closed = file.close();
    return written != 0 ? written : closed;
}

int _remove(const std::string& iPath)
{
    return unlink(iPath.c_str()) == 0 || errno == ENOENT ? 0 : errno;
}
} // namespace

PReadyFile::PReadyFile(std::string iPath) : fPath(std::move(iPath))
{
}

PReadyFile::~PReadyFile()
{
    withdraw(); // its result is ignored: a destructor cannot report it
}

int PReadyFile::prepare()
{
    if (fPath.empty())
    {
        return 0;
    }
    struct stat status = {};
    if (lstat(fPath.c_str(), &status) == 0)
    {
        return S_ISREG(status.st_mode) ? _remove(fPath) : EEXIST;
    }
    return errno != ENOENT || access(_directoryOf(fPath).c_str(), W_OK | X_OK) != 0 ? errno : 0;
}

int PReadyFile::publish()
{
    if (fPath.empty())
    {
        return 0;
    }
    const std::string pid = std::to_string(getpid());
    const std::string fresh = fPath + "." + pid;
    int result = _write(fresh, pid + "\n");
    if (result == 0 && rename(fresh.c_str(), fPath.c_str()) != 0)
    {
        result = errno;
    }
    if (result != 0)
    {
        _remove(fresh); // its result is ignored: the first failure is returned
    }
    fPublished = result == 0;
    return result;
}

int PReadyFile::withdraw()
{
    return fPublished.exchange(false) ? _remove(fPath) : 0;
}
