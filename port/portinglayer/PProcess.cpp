#include "PProcess.h"

#include "PDescriptor.h"
#include "PErrno.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/sysinfo.h>
#include <unistd.h>

unsigned int PProcess::getCurrentPID() noexcept
{
    return static_cast<unsigned int>(::getpid());
}

int PProcess::getMemoryUsage(unsigned int iPid, unsigned long long& oBytes) noexcept
{
    char path[32];
    std::snprintf(path, sizeof path, "/proc/%u/statm", iPid);
    const PDescriptor file(path, O_RDONLY);
    if (file.result() != 0)
    {
        return file.result();
    }
    char text[128];
    const ssize_t count = PDescriptor::readSome(file.get(), text, sizeof text - 1);
    if (count < 0)
    {
        return static_cast<int>(count);
    }
    text[count] = '\0';
    unsigned long long pages = 0;
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
