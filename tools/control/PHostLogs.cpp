// SPDX-License-Identifier: MIT
#include "control/PHostLogs.h"

#include "control/PRequestError.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace
{
constexpr char kCoreName[] = "core";
constexpr char kCoreTag[] = "Core";
constexpr std::size_t kHeaderSize = 128; ///< enough for the fields before the text of a line
constexpr std::string_view kLost = "[PLogger] Lost lines: ";

/// Whether an open file is appended to. It may be another file when another thread closes it; its
/// path decides then.
bool _isAppended(int iDescriptor)
{
    struct stat64 status = {};
    const int flags = fcntl(iDescriptor, F_GETFL);
    return flags >= 0 && (flags & O_APPEND) != 0 && fstat64(iDescriptor, &status) == 0 &&
           S_ISREG(status.st_mode);
}

/// The tag of the first line; empty when it is not that of a log.
std::string _tagOf(const std::string& iPath)
{
    char beginning[kHeaderSize];
    std::ifstream file(iPath, std::ios::binary);
    file.read(beginning, sizeof(beginning));
    std::istringstream fields(std::string(beginning, static_cast<std::size_t>(file.gcount())));
    std::string day;
    std::string time;
    std::string thread;
    std::string kind;
    std::string tag;
    fields >> day >> time >> thread >> kind >> tag;
    const bool isLog = fields && day.size() == 10 && time.size() == 12 &&
                       thread.find(':') != std::string::npos && kind.size() == 1;
    return isLog ? tag : "";
}

void _addFile(const fs::path& iLink, std::vector<HostLog>& ioLogs)
{
    int descriptor = -1;
    const std::string number = iLink.filename();
    std::from_chars(number.data(), number.data() + number.size(), descriptor);
    std::error_code ignored; // a file that is closed meanwhile
    const std::string path = fs::read_symlink(iLink, ignored);
    const bool known = std::any_of(ioLogs.begin(), ioLogs.end(),
                                   [&](const HostLog& iLog) { return iLog.path == path; });
    if (known || !_isAppended(descriptor))
    {
        return;
    }
    const std::string content = fs::exists(path, ignored) ? path : iLink.string();
    const std::string tag = _tagOf(content);
    if (!tag.empty())
    {
        ioLogs.push_back({fs::path(path).filename(), path, content, tag == kCoreTag});
    }
}

void _readLine(const std::string& iLine, LogContent& ioContent)
{
    ++ioContent.lines;
    const std::size_t place = iLine.find(kLost);
    long long lost = 0;
    if (place != std::string::npos)
    {
        std::from_chars(iLine.data() + place + kLost.size(), iLine.data() + iLine.size(), lost);
    }
    ioContent.lost += lost;
}
} // namespace

PHostLogs::PHostLogs()
{
    std::error_code failure; // without /proc there are no logs to be seen
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd", failure))
    {
        _addFile(entry.path(), fLogs);
    }
    std::sort(fLogs.begin(), fLogs.end(),
              [](const HostLog& iLeft, const HostLog& iRight) { return iLeft.path < iRight.path; });
}

const std::vector<HostLog>& PHostLogs::all() const noexcept
{
    return fLogs;
}

std::optional<HostLog> PHostLogs::core() const
{
    const auto found =
        std::find_if(fLogs.begin(), fLogs.end(), [](const HostLog& iLog) { return iLog.isCore; });
    return found == fLogs.end() ? std::nullopt : std::optional<HostLog>(*found);
}

std::string PHostLogs::pathOf(const std::string& iName, const std::string& iDirectory) const
{
    if (iName.find_first_of("/\\") != std::string::npos || iName.front() == '.')
    {
        throw PRequestError(kRefused, "the name of a log has no directory: " + iName);
    }
    const auto found =
        std::find_if(fLogs.begin(), fLogs.end(),
                     [&](const HostLog& iLog)
                     { return iLog.name == iName || (iLog.isCore && iName == kCoreName); });
    if (found != fLogs.end())
    {
        return found->path;
    }
    const fs::path path = fs::path(iDirectory) / iName;
    std::error_code ignored; // a file that cannot be examined is no log
    if (!fs::is_regular_file(path, ignored))
    {
        throw PRequestError(kNotFound, "no log \"" + iName +
                                           "\"; \"status\" lists the open ones, "
                                           "the others are in " +
                                           iDirectory);
    }
    return path;
}

LogContent PHostLogs::content(const std::string& iPath)
{
    LogContent content;
    std::error_code failure;
    const std::uintmax_t size = fs::file_size(iPath, failure);
    content.size = failure ? 0 : static_cast<long long>(size);
    if (failure || content.size > kLargest)
    {
        return content;
    }
    std::ifstream file(iPath);
    for (std::string line; std::getline(file, line);)
    {
        _readLine(line, content);
    }
    content.isComplete = true;
    return content;
}
