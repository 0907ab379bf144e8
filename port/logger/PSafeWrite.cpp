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

void PSafeWrite::print(std::string_view iBytes) noexcept
{
    while (!iBytes.empty())
    {
        const ssize_t written = write(STDERR_FILENO, iBytes.data(), iBytes.size());
        if (written <= 0)
        {
            return;
        }
        iBytes.remove_prefix(static_cast<std::size_t>(written));
    }
}
