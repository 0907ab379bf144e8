// SPDX-License-Identifier: MIT
#include "PSafeWrite.h"

#include "portinglayer/PRetry.h"
#include "portinglayer/PWriteSignals.h"

#include <cerrno>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
// On 32 bits the older call takes half the time of the one with 64-bit limits. It reports a limit
// beyond its range as no limit.
#ifdef SYS_ugetrlimit
constexpr long kGetLimit = SYS_ugetrlimit;
#else
constexpr long kGetLimit = SYS_getrlimit;
#endif
constexpr unsigned long kMostCounted = ~0ul;
} // namespace

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

bool PSafeWrite::isSizeUnlimited() noexcept
{
    unsigned long limit[2] = {}; // soft and hard limit
    return ::syscall(kGetLimit, RLIMIT_FSIZE, limit) == 0 && limit[0] == kMostCounted;
}

ssize_t PSafeWrite::writeFile(int iHandle, const char* iBytes, std::size_t iSize,
                              unsigned long long iFileSize, bool iIsUnlimited) noexcept
{
    if (!iIsUnlimited || iFileSize >= kMostCounted - iSize)
    {
        return write(iHandle, iBytes, iSize);
    }
    const ssize_t written = PRetry::call([=] { return ::write(iHandle, iBytes, iSize); });
    return written < 0 ? -errno : written;
}
