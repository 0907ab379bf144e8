// SPDX-License-Identifier: MIT
// Calls on files: switch points, because two threads may use one file without a common lock.

#include "Checkpoint.h"
#include "Export.h"
#include "Faults.h"
#include "Raw.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace schedules;

namespace
{
/// True when the call has to fail.
bool _point(std::uintptr_t iFrom, bool iCanFail = true)
{
    Thread* me = Scheduler::current();
    if (!me)
    {
        return false;
    }
    const Scheduler::Location location(*me, iFrom);
    Scheduler::point(Op::eFile, nullptr);
    if (!iCanFail || !Faults::isNext(FaultPlan::eFile))
    {
        return false;
    }
    errno = EIO;
    return true;
}

template <class... T>
long _call(long iNumber, T... iArguments)
{
    return Raw::get().syscall(iNumber, iArguments...);
}

/// A named pipe blocks its opener until the other end is open: the other end is another thread's.
int _openPipe(const char* iPath, int iFlags)
{
    for (;;)
    {
        const long file = _call(SYS_openat, AT_FDCWD, iPath, iFlags | O_NONBLOCK, 0);
        if (file >= 0 || errno != ENXIO)
        {
            return static_cast<int>(file);
        }
        Scheduler::wait(Op::eRead, nullptr, Scheduler::now() + 1000000);
    }
}

int _open(const char* iPath, int iFlags, unsigned iMode)
{
    if ((iFlags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0)
    {
        Checkpoint::fileChanges();
    }
    struct stat status;
    const bool blocks = Scheduler::current() && (iFlags & O_NONBLOCK) == 0 &&
                        ::stat(iPath, &status) == 0 && S_ISFIFO(status.st_mode);
    return blocks
               ? _openPipe(iPath, iFlags)
               : static_cast<int>(_call(SYS_openat, AT_FDCWD, iPath, iFlags | O_LARGEFILE, iMode));
}

unsigned _mode(int iFlags, va_list iList)
{
    return (iFlags & O_CREAT) != 0 ? va_arg(iList, unsigned) : 0;
}
} // namespace

#define OPEN(name)                                                                                 \
    SCHEDULES_EXPORT int name(const char* iPath, int iFlags, ...)                                  \
    {                                                                                              \
        va_list list;                                                                              \
        va_start(list, iFlags);                                                                    \
        const unsigned mode = _mode(iFlags, list);                                                 \
        va_end(list);                                                                              \
        return _point(SCHEDULES_CALLER) ? -1 : _open(iPath, iFlags, mode);                         \
    }

OPEN(open)
OPEN(open64)
#undef OPEN

SCHEDULES_EXPORT int close(int iFile)
{
    _point(SCHEDULES_CALLER, false);
    return static_cast<int>(_call(SYS_close, iFile));
}

SCHEDULES_EXPORT ssize_t read(int iFile, void* oBytes, std::size_t iSize)
{
    if (_point(SCHEDULES_CALLER))
    {
        return -1;
    }
    pollfd state{iFile, POLLIN, 0};
    while (Scheduler::current() && poll(&state, 1, 0) == 0)
    {
        SCHEDULES_HERE(*Scheduler::current());
        Scheduler::waitToRead(iFile);
    }
    return static_cast<ssize_t>(_call(SYS_read, iFile, oBytes, iSize));
}

SCHEDULES_EXPORT ssize_t pread64(int iFile, void* oBytes, std::size_t iSize, off64_t iOffset)
{
    return _point(SCHEDULES_CALLER) ? -1 : Raw::get().pread(iFile, oBytes, iSize, iOffset);
}

SCHEDULES_EXPORT int __stat64_time64(const char* iPath, void* oStatus)
{
    _point(SCHEDULES_CALLER, false);
    return Raw::get().stat(iPath, oStatus);
}

SCHEDULES_EXPORT int __fstat64_time64(int iFile, void* oStatus)
{
    _point(SCHEDULES_CALLER, false);
    return Raw::get().fstat(iFile, oStatus);
}

SCHEDULES_EXPORT int mkdir(const char* iPath, mode_t iMode)
{
    Checkpoint::fileChanges();
    return _point(SCHEDULES_CALLER) ? -1 : Raw::get().mkdir(iPath, iMode);
}

SCHEDULES_EXPORT ssize_t write(int iFile, const void* iBytes, std::size_t iSize)
{
    Checkpoint::fileChanges();
    return _point(SCHEDULES_CALLER) ? -1
                                    : static_cast<ssize_t>(_call(SYS_write, iFile, iBytes, iSize));
}

SCHEDULES_EXPORT int rename(const char* iFrom, const char* iTo)
{
    Checkpoint::fileChanges();
    return _point(SCHEDULES_CALLER) ? -1 : static_cast<int>(_call(SYS_rename, iFrom, iTo));
}

SCHEDULES_EXPORT int unlink(const char* iPath)
{
    Checkpoint::fileChanges();
    return _point(SCHEDULES_CALLER) ? -1 : static_cast<int>(_call(SYS_unlink, iPath));
}

SCHEDULES_EXPORT int ftruncate64(int iFile, off64_t iSize)
{
    Checkpoint::fileChanges();
    return _point(SCHEDULES_CALLER)
               ? -1
               : static_cast<int>(_call(SYS_ftruncate64, iFile, static_cast<long>(iSize),
                                        static_cast<long>(iSize >> 32)));
}

SCHEDULES_EXPORT int flock(int iFile, int iOperation)
{
    Checkpoint::fileChanges();
    if (_point(SCHEDULES_CALLER))
    {
        return -1;
    }
    constexpr int kNoBlock = 4;
    for (;;)
    {
        const long result = _call(SYS_flock, iFile, iOperation | kNoBlock);
        if (result == 0 || errno != EWOULDBLOCK || (iOperation & kNoBlock) != 0 ||
            !Scheduler::current())
        {
            return static_cast<int>(result);
        }
        Scheduler::wait(Op::eFile, nullptr, Scheduler::now() + 1000000);
    }
}
