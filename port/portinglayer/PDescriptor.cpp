// SPDX-License-Identifier: MIT
#include "PDescriptor.h"

#include "PCancelGuard.h"
#include "PErrno.h"
#include "PRetry.h"
#include "PWriteSignals.h"

#include <algorithm>
#include <climits>
#include <fcntl.h>
#include <unistd.h>

namespace
{
int _open(const char* iPath, int iFlags, mode_t iAccess) noexcept
{
    const PCancelGuard guard;
    return PRetry::call([=] { return ::open(iPath, iFlags, iAccess); });
}

/// Moves a descriptor that has the number of a standard stream to a higher number.
int _aboveStandard(int iHandle) noexcept
{
    if (iHandle < 0 || iHandle > STDERR_FILENO)
    {
        return iHandle;
    }
    const int moved = ::fcntl(iHandle, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    PDescriptor::close(iHandle);
    errno = error;
    return moved;
}
} // namespace

PDescriptor::PDescriptor(const char* iPath, int iFlags, mode_t iAccess) noexcept
    : fHandle(_aboveStandard(_open(iPath, iFlags | O_CLOEXEC | O_NOCTTY, iAccess))),
      fResult(fHandle < 0 ? PErrno::last() : 0)
{
}

PDescriptor::~PDescriptor()
{
    if (fHandle >= 0)
    {
        // An error has no meaning: nothing was written through a descriptor that is closed here.
        close(fHandle);
    }
}

int PDescriptor::release() noexcept
{
    const int handle = fHandle;
    fHandle = -1;
    return handle;
}

ssize_t PDescriptor::readSome(int iHandle, char* oBytes, std::size_t iSize) noexcept
{
    const std::size_t size = std::min<std::size_t>(iSize, INT_MAX);
    const PCancelGuard guard;
    const ssize_t count = PRetry::call([=] { return ::read(iHandle, oBytes, size); });
    return count < 0 ? PErrno::last() : count;
}

int PDescriptor::writeAll(int iHandle, const char* iBytes, std::size_t iSize) noexcept
{
    const PCancelGuard guard;
    PWriteSignals signals;
    while (iSize > 0)
    {
        const std::size_t size = std::min<std::size_t>(iSize, INT_MAX);
        const ssize_t count = PRetry::call([=] { return ::write(iHandle, iBytes, size); });
        if (count <= 0)
        {
            // A write of 0 bytes counts as an error, because the loop would never end.
            const int error = count < 0 ? errno : EIO;
            signals.takeBack(error);
            return PErrno::code(error);
        }
        iBytes += count;
        iSize -= static_cast<std::size_t>(count);
    }
    return 0;
}

// Linux closes the descriptor even when a signal interrupts the call, so it must not be repeated.
int PDescriptor::close(int iHandle) noexcept
{
    const PCancelGuard guard;
    return ::close(iHandle) == 0 || errno == EINTR ? 0 : PErrno::last();
}
