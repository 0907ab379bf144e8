// SPDX-License-Identifier: MIT
#include "support/FileFaults.h"

#include "portinglayer/PExport.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

FileFault FileFaults::open("open");
FileFault FileFaults::read("read");
FileFault FileFaults::write("write");
FileFault FileFaults::close("close");
FileFault FileFaults::state("stat");
FileFault FileFaults::access("access");
FileFault FileFaults::unlink("unlink");
FileFault FileFaults::mkdir("mkdir");
FileFault FileFaults::rename("rename");
FileFault FileFaults::seek("lseek");
FileFault FileFaults::truncate("ftruncate");
FileFault FileFaults::control("fcntl");
FileFault FileFaults::lock("flock");
FileFault FileFaults::openDir("opendir");
FileFault FileFaults::readDir("readdir");

namespace
{
char sStruckPath[PATH_MAX];
std::atomic<int> sKillSkip{-1}; // -1 while no call kills the process
std::atomic<int> sKillPermille{0};

void _notePath(const char* iPath)
{
    std::snprintf(sStruckPath, sizeof sStruckPath, "%s", iPath);
}

void _notePathOf(int iHandle)
{
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", iHandle);
    const ssize_t size = ::readlink(link, sStruckPath, sizeof sStruckPath - 1);
    sStruckPath[size > 0 ? size : 0] = '\0';
}

/// The C library's function that this binary replaces.
template <class TFunction>
TFunction* _next(const char* iName)
{
    return reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, iName));
}
} // namespace

FileFault::FileFault(const char* iName) : fName(iName)
{
}

const char* FileFault::name() const
{
    return fName;
}

void FileFault::arm(int iErrno, int iTimes, int iSkip)
{
    fErrno = iErrno;
    fCalls = 0;
    fHits = 0;
    fSkip = iSkip;
    fLeft = iTimes;
}

void FileFault::shorten(std::size_t iBytes, int iSkip)
{
    fHits = 0;
    fShortSize = iBytes;
    fShortSkip = iSkip;
}

void FileFault::onStrike(std::function<void()> iAction)
{
    fAction = std::move(iAction);
}

void FileFault::disarm()
{
    fAction = nullptr;
    fLeft = 0;
    fShortSkip = -1;
}

int FileFault::calls() const
{
    return fCalls;
}

int FileFault::hits() const
{
    return fHits;
}

bool FileFault::strikes(const char* iPath)
{
    if (!strikesNow())
    {
        return false;
    }
    _notePath(iPath);
    act();
    errno = fErrno;
    return true;
}

bool FileFault::strikes(int iHandle)
{
    if (!strikesNow())
    {
        return false;
    }
    _notePathOf(iHandle);
    act();
    errno = fErrno;
    return true;
}

bool FileFault::shortens(int iHandle, std::size_t& ioSize)
{
    if (fShortSkip < 0 || fShortSkip.fetch_sub(1) > 0)
    {
        return false;
    }
    ++fHits;
    _notePathOf(iHandle);
    ioSize = std::min(ioSize, fShortSize.load());
    return true;
}

void FileFault::act()
{
    if (const std::function<void()> action = std::exchange(fAction, nullptr))
    {
        action();
    }
}

bool FileFault::strikesNow()
{
    if (sKillSkip >= 0 && sKillSkip.fetch_sub(1) == 0)
    {
        ::kill(::getpid(), SIGKILL);
    }
    ++fCalls;
    if (fLeft == 0 || fSkip.fetch_sub(1) > 0)
    {
        return false;
    }
    if (fLeft > 0)
    {
        --fLeft;
    }
    ++fHits;
    return true;
}

std::array<FileFault*, 15> FileFaults::all()
{
    return {&open,   &read, &write,    &close,   &state, &access,  &unlink, &mkdir,
            &rename, &seek, &truncate, &control, &lock,  &openDir, &readDir};
}

FileFault* FileFaults::find(const std::string& iName)
{
    const auto faults = all();
    return *std::find_if(faults.begin(), faults.end(),
                         [&](const FileFault* iFault) { return iFault->name() == iName; });
}

void FileFaults::killAfter(int iSkip, int iPermille)
{
    sKillPermille = iPermille;
    sKillSkip = iSkip;
}

bool FileFaults::killsWithin(std::size_t iSize, std::size_t& oTransferred)
{
    oTransferred = iSize * static_cast<std::size_t>(sKillPermille) / 1000;
    return sKillSkip == 0;
}

void FileFaults::disarm()
{
    for (FileFault* fault : all())
    {
        fault->disarm();
    }
}

std::string FileFaults::struckPath()
{
    return sStruckPath;
}

// The definitions have the symbol names that the product refers to: those of the calls for large
// files and, on 32 bits, for dates beyond 2038. In C++ they have other names, so that they do not
// clash with the headers.
#define IXLAL_REPLACE(iSymbol, iResult, iName, iParameters)                                        \
    extern "C" IXLA_EXPORT iResult iName iParameters __asm__(iSymbol);                             \
    extern "C" iResult iName iParameters

#if __SIZEOF_POINTER__ == 4
#define IXLAL_FSTAT "__fstat64_time64"
#define IXLAL_STAT "__stat64_time64"
#define IXLAL_LSTAT "__lstat64_time64"
#define IXLAL_FSTATAT "__fstatat64_time64"
#define IXLAL_FCNTL "__fcntl_time64"
#else
#define IXLAL_FSTAT "fstat64"
#define IXLAL_STAT "stat64"
#define IXLAL_LSTAT "lstat64"
#define IXLAL_FSTATAT "fstatat64"
#define IXLAL_FCNTL "fcntl64"
#endif

IXLAL_REPLACE("open64", int, ixlalFaultyOpen, (const char* iPath, int iFlags, ...))
{
    static auto* const real = _next<int(const char*, int, ...)>("open64");
    va_list args;
    va_start(args, iFlags);
    const mode_t mode = (iFlags & O_CREAT) ? va_arg(args, mode_t) : 0;
    va_end(args);
    return FileFaults::open.strikes(iPath) ? -1 : real(iPath, iFlags, mode);
}

IXLAL_REPLACE("read", ssize_t, ixlalFaultyRead, (int iHandle, void* oBytes, size_t iSize))
{
    static auto* const real = _next<ssize_t(int, void*, size_t)>("read");
    const bool isShort = FileFaults::read.shortens(iHandle, iSize);
    return !isShort && FileFaults::read.strikes(iHandle) ? -1 : real(iHandle, oBytes, iSize);
}

IXLAL_REPLACE("pread64", ssize_t, ixlalFaultyPread,
              (int iHandle, void* oBytes, size_t iSize, long long iFrom))
{
    static auto* const real = _next<ssize_t(int, void*, size_t, long long)>("pread64");
    const bool isShort = FileFaults::read.shortens(iHandle, iSize);
    return !isShort && FileFaults::read.strikes(iHandle) ? -1 : real(iHandle, oBytes, iSize, iFrom);
}

IXLAL_REPLACE("write", ssize_t, ixlalFaultyWrite, (int iHandle, const void* iBytes, size_t iSize))
{
    static auto* const real = _next<ssize_t(int, const void*, size_t)>("write");
    std::size_t transferred = 0;
    if (FileFaults::killsWithin(iSize, transferred))
    {
        // The result is ignored: only the written bytes matter, because the process is killed.
        static_cast<void>(real(iHandle, iBytes, transferred));
    }
    const bool isShort = FileFaults::write.shortens(iHandle, iSize);
    return !isShort && FileFaults::write.strikes(iHandle) ? -1 : real(iHandle, iBytes, iSize);
}

IXLAL_REPLACE("close", int, ixlalFaultyClose, (int iHandle))
{
    static auto* const real = _next<int(int)>("close");
    const bool isStruck = FileFaults::close.strikes(iHandle);
    const int error = errno;
    const int result = real(iHandle);
    if (isStruck)
    {
        errno = error;
    }
    return isStruck ? -1 : result;
}

IXLAL_REPLACE(IXLAL_FSTAT, int, ixlalFaultyFstat, (int iHandle, void* oState))
{
    static auto* const real = _next<int(int, void*)>(IXLAL_FSTAT);
    return FileFaults::state.strikes(iHandle) ? -1 : real(iHandle, oState);
}

IXLAL_REPLACE(IXLAL_STAT, int, ixlalFaultyStat, (const char* iPath, void* oState))
{
    static auto* const real = _next<int(const char*, void*)>(IXLAL_STAT);
    return FileFaults::state.strikes(iPath) ? -1 : real(iPath, oState);
}

IXLAL_REPLACE(IXLAL_LSTAT, int, ixlalFaultyLstat, (const char* iPath, void* oState))
{
    static auto* const real = _next<int(const char*, void*)>(IXLAL_LSTAT);
    return FileFaults::state.strikes(iPath) ? -1 : real(iPath, oState);
}

IXLAL_REPLACE(IXLAL_FSTATAT, int, ixlalFaultyFstatat,
              (int iDirectory, const char* iPath, void* oState, int iFlags))
{
    static auto* const real = _next<int(int, const char*, void*, int)>(IXLAL_FSTATAT);
    return FileFaults::state.strikes(iPath) ? -1 : real(iDirectory, iPath, oState, iFlags);
}

IXLAL_REPLACE(IXLAL_FCNTL, int, ixlalFaultyFcntl, (int iHandle, int iCommand, ...))
{
    static auto* const real = _next<int(int, int, ...)>(IXLAL_FCNTL);
    va_list args;
    va_start(args, iCommand);
    // The product passes only numbers.
    const int argument = va_arg(args, int);
    va_end(args);
    return FileFaults::control.strikes(iHandle) ? -1 : real(iHandle, iCommand, argument);
}

IXLAL_REPLACE("flock", int, ixlalFaultyLock, (int iHandle, int iOperation))
{
    static auto* const real = _next<int(int, int)>("flock");
    return FileFaults::lock.strikes(iHandle) ? -1 : real(iHandle, iOperation);
}

IXLAL_REPLACE("access", int, ixlalFaultyAccess, (const char* iPath, int iMode))
{
    static auto* const real = _next<int(const char*, int)>("access");
    return FileFaults::access.strikes(iPath) ? -1 : real(iPath, iMode);
}

IXLAL_REPLACE("unlink", int, ixlalFaultyUnlink, (const char* iPath))
{
    static auto* const real = _next<int(const char*)>("unlink");
    return FileFaults::unlink.strikes(iPath) ? -1 : real(iPath);
}

IXLAL_REPLACE("mkdir", int, ixlalFaultyMkdir, (const char* iPath, mode_t iMode))
{
    static auto* const real = _next<int(const char*, mode_t)>("mkdir");
    return FileFaults::mkdir.strikes(iPath) ? -1 : real(iPath, iMode);
}

IXLAL_REPLACE("rename", int, ixlalFaultyRename, (const char* iFrom, const char* iTo))
{
    static auto* const real = _next<int(const char*, const char*)>("rename");
    return FileFaults::rename.strikes(iFrom) ? -1 : real(iFrom, iTo);
}

IXLAL_REPLACE("lseek64", long long, ixlalFaultySeek, (int iHandle, long long iOffset, int iWhence))
{
    static auto* const real = _next<long long(int, long long, int)>("lseek64");
    return FileFaults::seek.strikes(iHandle) ? -1 : real(iHandle, iOffset, iWhence);
}

IXLAL_REPLACE("ftruncate64", int, ixlalFaultyTruncate, (int iHandle, long long iSize))
{
    static auto* const real = _next<int(int, long long)>("ftruncate64");
    return FileFaults::truncate.strikes(iHandle) ? -1 : real(iHandle, iSize);
}

IXLAL_REPLACE("opendir", void*, ixlalFaultyOpenDir, (const char* iPath))
{
    static auto* const real = _next<void*(const char*)>("opendir");
    return FileFaults::openDir.strikes(iPath) ? nullptr : real(iPath);
}

IXLAL_REPLACE("readdir64", void*, ixlalFaultyReadDir, (void* ioDirectory))
{
    static auto* const real = _next<void*(void*)>("readdir64");
    return FileFaults::readDir.strikes("") ? nullptr : real(ioDirectory);
}
