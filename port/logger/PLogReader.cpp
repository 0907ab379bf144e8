// SPDX-License-Identifier: MIT
#include "PLogReader.h"

#include "portinglayer/PRetry.h"

#include <algorithm>
#include <memory>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr std::size_t kBlock = 65536;
constexpr std::size_t kSmallBlock = 1024;

ssize_t _readAt(int iHandle, char* oBytes, std::size_t iSize, unsigned long long iFrom) noexcept
{
    return PRetry::call([=] { return ::pread(iHandle, oBytes, iSize, static_cast<off_t>(iFrom)); });
}

/// A buffer to read into: large, or small if there is no memory for the large one.
class Block
{
public:
    // cppcheck-suppress uninitMemberVar ; bytes are used only after a read has filled them
    Block() noexcept : fLarge(new (std::nothrow) char[kBlock])
    {
    }

    char* bytes() noexcept
    {
        return fLarge ? fLarge.get() : fSmall;
    }

    std::size_t size() const noexcept
    {
        return fLarge ? kBlock : kSmallBlock;
    }

private:
    const std::unique_ptr<char[]> fLarge;
    char fSmall[kSmallBlock];
};

} // namespace

PLogReader::PLogReader(const char* iPath, const PLogIdentity& iLog) noexcept
    : fHandle(iPath, O_RDONLY | O_NONBLOCK), fIsLog(false)
{
    struct stat state = {};
    fIsLog = fHandle.get() >= 0 &&
             PRetry::call([&] { return ::fstat(fHandle.get(), &state); }) == 0 &&
             iLog.is(state.st_dev, state.st_ino);
}

bool PLogReader::isTorn(unsigned long long iSize) const noexcept
{
    char last = '\n';
    return _readAt(fHandle.get(), &last, 1, iSize - 1) == 1 && last != '\n';
}

unsigned long long PLogReader::countLines(unsigned long long iFrom, unsigned long long iSize,
                                          unsigned long long iEnough) const noexcept
{
    Block block;
    unsigned long long lines = 0;
    ssize_t got = 1;
    for (; lines < iEnough && iFrom < iSize && got > 0;
         iFrom += static_cast<unsigned long long>(got))
    {
        const auto size = std::min<unsigned long long>(block.size(), iSize - iFrom);
        got = _readAt(fHandle.get(), block.bytes(), static_cast<std::size_t>(size), iFrom);
        lines += static_cast<unsigned long long>(
            std::count(block.bytes(), block.bytes() + std::max<ssize_t>(got, 0), '\n'));
    }
    return lines;
}
