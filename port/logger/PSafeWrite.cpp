// SPDX-License-Identifier: MIT
#include "PSafeWrite.h"

#include "portinglayer/PRetry.h"
#include "portinglayer/PWriteSignals.h"

#include <cerrno>

#include <unistd.h>

ssize_t PSafeWrite::write(int iHandle, const char* iBytes, std::size_t iSize) noexcept
{
    PWriteSignals signals;
    const ssize_t written = PRetry::call([=] { return ::write(iHandle, iBytes, iSize); });
    if (written >= 0)
    {
        return written;
    }
    const int error = errno;
    signals.takeBack(error);
    return -error;
}

ssize_t PSafeWrite::writeUnguarded(int iHandle, const char* iBytes, std::size_t iSize) noexcept
{
    const ssize_t written = PRetry::call([=] { return ::write(iHandle, iBytes, iSize); });
    return written < 0 ? -errno : written;
}
