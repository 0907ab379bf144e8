// The names of the large-file calls are defined here, not mapped to.
#undef _FILE_OFFSET_BITS
#undef _FORTIFY_SOURCE

#include "logger/FileFaults.h"

#include "portinglayer/PExport.h"

#include <cerrno>
#include <cstdarg>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

FileFault FileFaults::write;
FileFault FileFaults::truncate;
FileFault FileFaults::open;

namespace
{
constexpr std::size_t kWhole = ~std::size_t{0};
std::atomic<std::size_t> sShorten{kWhole};

template <class TFunction>
TFunction* _next(const char* iName)
{
    return reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, iName));
}
} // namespace

void FileFault::arm(int iErrno, int iTimes)
{
    fErrno = iErrno;
    fCalls = 0;
    fLeft = iTimes;
}

bool FileFault::strikes()
{
    ++fCalls;
    if (fLeft <= 0 || fLeft.fetch_sub(1) <= 0)
    {
        return false;
    }
    errno = fErrno;
    return true;
}

int FileFault::calls() const
{
    return fCalls;
}

void FileFaults::shortenNextWrite(std::size_t iBytes)
{
    sShorten = iBytes;
}

extern "C" IXLA_EXPORT ssize_t write(int iHandle, const void* iBytes, size_t iSize)
{
    static auto* const real = _next<ssize_t(int, const void*, size_t)>("write");
    const std::size_t shortened = sShorten.exchange(kWhole);
    if (shortened != kWhole)
    {
        return real(iHandle, iBytes, shortened);
    }
    return FileFaults::write.strikes() ? -1 : real(iHandle, iBytes, iSize);
}

extern "C" IXLA_EXPORT int ftruncate64(int iHandle, off64_t iSize) noexcept
{
    static auto* const real = _next<int(int, off64_t)>("ftruncate64");
    return FileFaults::truncate.strikes() ? -1 : real(iHandle, iSize);
}

extern "C" IXLA_EXPORT int open64(const char* iPath, int iFlags, ...)
{
    static auto* const real = _next<int(const char*, int, ...)>("open64");
    va_list args;
    va_start(args, iFlags);
    const mode_t mode = (iFlags & O_CREAT) ? va_arg(args, mode_t) : 0;
    va_end(args);
    return FileFaults::open.strikes() ? -1 : real(iPath, iFlags, mode);
}
