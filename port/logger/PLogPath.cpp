// SPDX-License-Identifier: MIT
#include "PLogPath.h"

#include "portinglayer/PRetry.h"
#include "portinglayer/PUtf8.h"

#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr mode_t kDirectoryMode = 0755;
constexpr std::size_t kPartDigits = 16; // "." and the digits of a part number
} // namespace

int PLogPath::resolve(const PLiteral& iFile, std::string& oPath)
{
    std::vector<char> bytes(iFile.len() * std::size_t{PUtf8::eMaxBytes} + 1);
    const std::size_t size = PUtf8::encodePath(iFile.ptr(), iFile.len(), bytes.data());
    if (size == PUtf8::eNoPath)
    {
        return -EINVAL;
    }
    std::string path(bytes.data(), size);
    if (!path.empty() && path[0] != '/')
    {
        std::vector<char> directory(PATH_MAX);
        // Without a working directory the path stays relative, and opening it reports the error.
        if (::getcwd(directory.data(), directory.size()))
        {
            path.insert(0, std::string(directory.data()) + '/');
        }
    }
    oPath.swap(path);
    return 0;
}

PLogPath::PLogPath(const std::string& iPath) : fCurrent(iPath)
{
    fFrom.reserve(fCurrent.size() + kPartDigits);
    fTo.reserve(fCurrent.size() + kPartDigits);
}

int PLogPath::makeDirectories() noexcept
{
    for (std::size_t slash = fCurrent.find('/', 1); slash != std::string::npos;
         slash = fCurrent.find('/', slash + 1))
    {
        fFrom.assign(fCurrent, 0, slash);
        if (PRetry::call([this] { return ::mkdir(fFrom.c_str(), kDirectoryMode); }) != 0 &&
            errno != EEXIST)
        {
            return -errno;
        }
    }
    return 0;
}

/// Renumbers the parts up to the first free number, so that no part is deleted while there is a
/// gap; with all numbers taken the oldest part is deleted. A number whose file cannot be examined
/// counts as taken.
bool PLogPath::moveAside(unsigned int iParts) noexcept
{
    unsigned int free = 1;
    struct stat ignored = {};
    for (; free < iParts; ++free)
    {
        partName(free, fTo);
        if (PRetry::call([&] { return ::lstat(fTo.c_str(), &ignored); }) != 0 && errno == ENOENT)
        {
            break;
        }
    }
    for (; free > 0; --free)
    {
        partName(free, fTo);
        partName(free - 1, fFrom);
        if (PRetry::call([this] { return std::rename(fFrom.c_str(), fTo.c_str()); }) != 0)
        {
            return false;
        }
    }
    return true;
}

/// Part 0 is the current file.
void PLogPath::partName(unsigned int iPart, std::string& oName) const noexcept
{
    oName.assign(fCurrent);
    if (iPart > 0)
    {
        char digits[kPartDigits] = {'.'};
        const std::to_chars_result result =
            std::to_chars(digits + 1, digits + sizeof digits, iPart);
        oName.append(digits, static_cast<std::size_t>(result.ptr - digits));
    }
}
