// SPDX-License-Identifier: MIT
#include "control/PLogTail.h"

#include "control/PRequestError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace
{
constexpr std::size_t kBlock = 8192;
constexpr std::size_t kLongestLine = 65536;

/// Does not wait for a writer when the path is that of a named pipe.
PFileDescriptor _open(const std::string& iPath)
{
    return PFileDescriptor(open64(iPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
}
} // namespace

PLogTail::PLogTail(const std::string& iName, const std::string& iPath)
    : fName(iName), fPath(iPath), fFile(_open(iPath))
{
    struct stat64 status = {};
    if (!fFile || fstat64(fFile.get(), &status) != 0)
    {
        const int error = errno;
        throw PRequestError(kNotFound,
                            iPath + ": cannot be read: " + std::generic_category().message(error),
                            -error);
    }
    if (!S_ISREG(status.st_mode))
    {
        throw PRequestError(kNotFound, iPath + ": is not a regular file");
    }
    fPlace = status.st_size;
}

const std::string& PLogTail::name() const noexcept
{
    return fName;
}

std::vector<std::string> PLogTail::last(std::size_t iCount, std::size_t iMostBytes)
{
    const off64_t size = std::min<off64_t>(static_cast<off64_t>(iMostBytes), fPlace);
    std::string text(static_cast<std::size_t>(size), '\0');
    const ssize_t count =
        pread64(fFile.get(), text.data(), text.size(), fPlace - static_cast<off64_t>(text.size()));
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    const bool isWhole = static_cast<off64_t>(text.size()) == fPlace;
    const std::size_t end = text.rfind('\n');
    fPartial = end == std::string::npos ? "" : text.substr(end + 1);
    std::vector<std::string> lines;
    for (std::size_t stop = end; stop != std::string::npos && lines.size() < iCount;)
    {
        const std::size_t before = stop == 0 ? std::string::npos : text.rfind('\n', stop - 1);
        if (before == std::string::npos && !isWhole)
        {
            break; // the beginning of this line was not read
        }
        const std::size_t begin = before == std::string::npos ? 0 : before + 1;
        lines.push_back(text.substr(begin, stop - begin));
        stop = before;
    }
    std::reverse(lines.begin(), lines.end());
    return lines;
}

std::vector<std::string> PLogTail::more(std::size_t iMostBytes)
{
    std::vector<std::string> lines;
    const off64_t begin = fPlace;
    while (fPlace - begin < static_cast<off64_t>(iMostBytes) && (fill() || reopen()))
    {
        splitInto(lines);
    }
    return lines;
}

/// Reads one block. False at the end of the file.
bool PLogTail::fill()
{
    char block[kBlock];
    const ssize_t count = pread64(fFile.get(), block, sizeof(block), fPlace);
    if (count <= 0)
    {
        return false;
    }
    fPartial.append(block, static_cast<std::size_t>(count));
    fPlace += count;
    return true;
}

/// At the end of the file. True when there is another file, or the same one is shorter now.
bool PLogTail::reopen()
{
    struct stat64 present = {};
    struct stat64 followed = {};
    if (stat64(fPath.c_str(), &present) != 0 || fstat64(fFile.get(), &followed) != 0)
    {
        return false;
    }
    if (present.st_ino == followed.st_ino && present.st_dev == followed.st_dev)
    {
        const bool truncated = followed.st_size < fPlace;
        fPlace = truncated ? 0 : fPlace;
        return truncated && fill();
    }
    PFileDescriptor next = _open(fPath);
    if (!next || !S_ISREG(present.st_mode))
    {
        return false;
    }
    fFile = std::move(next);
    fPlace = 0;
    return fill();
}

void PLogTail::splitInto(std::vector<std::string>& ioLines)
{
    std::size_t begin = 0;
    for (std::size_t end = fPartial.find('\n'); end != std::string::npos;
         end = fPartial.find('\n', begin))
    {
        ioLines.push_back(fPartial.substr(begin, end - begin));
        begin = end + 1;
    }
    fPartial.erase(0, begin);
    if (fPartial.size() > kLongestLine)
    {
        ioLines.push_back(std::move(fPartial));
        fPartial.clear();
    }
}
