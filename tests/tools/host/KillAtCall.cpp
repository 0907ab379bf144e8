// SPDX-License-Identifier: MIT
// A library to preload: KILL_AT=N kills the process with SIGKILL at the call after N calls that
// change files whose path contains "store.txt". A write first transfers KILL_SHARE thousandths of
// its bytes; any other call is not made.

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr int kHandles = 1024;

std::atomic<bool> sIsStore[kHandles];

long _number(const char* iName)
{
    const char* const text = std::getenv(iName);
    return text ? std::strtol(text, nullptr, 10) : -1;
}

template <class TFunction>
TFunction* _next(const char* iName)
{
    return reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, iName));
}

bool _isStorePath(const char* iPath)
{
    return std::strstr(iPath, "store.txt") != nullptr;
}

bool _isStore(int iHandle)
{
    return iHandle >= 0 && iHandle < kHandles && sIsStore[iHandle];
}

/// Whether the process is to be killed in this call.
bool _isLast()
{
    static std::atomic<long> sLeft{_number("KILL_AT")};
    return sLeft.load() >= 0 && sLeft.fetch_sub(1) == 0;
}

void _die()
{
    kill(getpid(), SIGKILL);
    for (;;)
    {
        pause();
    }
}

void _count(bool iIsStore)
{
    if (iIsStore && _isLast())
    {
        _die();
    }
}

int _opened(int iHandle, const char* iPath, int iFlags)
{
    if (iHandle >= 0 && iHandle < kHandles)
    {
        sIsStore[iHandle] = _isStorePath(iPath) && (iFlags & O_ACCMODE) != O_RDONLY;
    }
    return iHandle;
}

mode_t _mode(int iFlags, va_list iArguments)
{
    return (iFlags & O_CREAT) != 0 ? va_arg(iArguments, mode_t) : 0;
}
} // namespace

extern "C"
{
    int open64(const char* iPath, int iFlags, ...)
    {
        static auto* const real = _next<int(const char*, int, ...)>("open64");
        va_list arguments;
        va_start(arguments, iFlags);
        const mode_t mode = _mode(iFlags, arguments);
        va_end(arguments);
        _count(_isStorePath(iPath) && (iFlags & O_ACCMODE) != O_RDONLY);
        return _opened(real(iPath, iFlags, mode), iPath, iFlags);
    }

    int openat64(int iDirectory, const char* iPath, int iFlags, ...)
    {
        static auto* const real = _next<int(int, const char*, int, ...)>("openat64");
        va_list arguments;
        va_start(arguments, iFlags);
        const mode_t mode = _mode(iFlags, arguments);
        va_end(arguments);
        _count(_isStorePath(iPath) && (iFlags & O_ACCMODE) != O_RDONLY);
        return _opened(real(iDirectory, iPath, iFlags, mode), iPath, iFlags);
    }

    ssize_t write(int iHandle, const void* iBytes, size_t iSize)
    {
        static auto* const real = _next<ssize_t(int, const void*, size_t)>("write");
        if (_isStore(iHandle) && _isLast())
        {
            const auto share = static_cast<size_t>(_number("KILL_SHARE"));
            // The result is of no use: the process is killed.
            static_cast<void>(real(iHandle, iBytes, iSize * share / 1000));
            _die();
        }
        return real(iHandle, iBytes, iSize);
    }

    int close(int iHandle)
    {
        static auto* const real = _next<int(int)>("close");
        _count(_isStore(iHandle));
        if (_isStore(iHandle))
        {
            sIsStore[iHandle] = false;
        }
        return real(iHandle);
    }

    int fsync(int iHandle)
    {
        static auto* const real = _next<int(int)>("fsync");
        _count(_isStore(iHandle));
        return real(iHandle);
    }

    int unlink(const char* iPath) noexcept
    {
        static auto* const real = _next<int(const char*)>("unlink");
        _count(_isStorePath(iPath));
        return real(iPath);
    }

    int unlinkat(int iDirectory, const char* iPath, int iFlags) noexcept
    {
        static auto* const real = _next<int(int, const char*, int)>("unlinkat");
        _count(_isStorePath(iPath));
        return real(iDirectory, iPath, iFlags);
    }

    int renameat(int iFromDirectory, const char* iFrom, int iToDirectory, const char* iTo) noexcept
    {
        static auto* const real = _next<int(int, const char*, int, const char*)>("renameat");
        _count(_isStorePath(iFrom));
        return real(iFromDirectory, iFrom, iToDirectory, iTo);
    }
}
