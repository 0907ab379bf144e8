// SPDX-License-Identifier: MIT
#include "PProcess.h"

#include "PDescriptor.h"
#include "PErrno.h"

#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <sys/sysinfo.h>
#include <unistd.h>

namespace
{
/// Reads a file and adds a zero; truncates a longer file.
template <std::size_t tSize>
int _readAll(int iHandle, char (&oText)[tSize]) noexcept
{
    std::size_t size = 0;
    ssize_t count = 1;
    for (; count > 0 && size < tSize - 1; size += static_cast<std::size_t>(count))
    {
        count = PDescriptor::readSome(iHandle, oText + size, tSize - 1 - size);
        if (count < 0)
        {
            return static_cast<int>(count);
        }
    }
    oText[size] = '\0';
    return 0;
}
} // namespace

unsigned int PProcess::getCurrentPID() noexcept
{
    return static_cast<unsigned int>(::getpid());
}

int PProcess::getMemoryUsage(unsigned int iPid, unsigned long long& oBytes) noexcept
{
    char path[32];
    // Cannot fail: there is room for every number.
    static_cast<void>(std::snprintf(path, sizeof path, "/proc/%u/statm", iPid));
    const PDescriptor file(path, O_RDONLY);
    if (file.result() != 0)
    {
        return file.result();
    }
    char text[128];
    const int res = _readAll(file.get(), text);
    if (res != 0)
    {
        return res;
    }
    unsigned long long pages = 0;
    // NOLINTNEXTLINE(cert-err34-c): the numbers of the kernel fit
    if (std::sscanf(text, "%*u %llu", &pages) != 1)
    {
        return PErrno::code(EIO);
    }
    oBytes = pages * static_cast<unsigned long long>(::sysconf(_SC_PAGESIZE));
    return 0;
}

int PProcess::getFreeMemory(unsigned long long& oBytes) noexcept
{
    struct sysinfo info = {};
    if (::sysinfo(&info) != 0)
    {
        return PErrno::last();
    }
    oBytes = static_cast<unsigned long long>(info.freeram) * info.mem_unit;
    return 0;
}
