// SPDX-License-Identifier: MIT
#include "DirectoryImage.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <system_error>

namespace fs = std::filesystem;

namespace schedules
{
namespace
{
std::string _read(const fs::path& iPath)
{
    std::ifstream file(iPath, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file)
    {
        throw std::system_error(errno, std::generic_category(), iPath);
    }
    return content;
}

timespec _changed(const fs::path& iPath)
{
    struct stat status;
    if (::lstat(iPath.c_str(), &status) != 0)
    {
        throw std::system_error(errno, std::generic_category(), iPath);
    }
    return status.st_mtim;
}

std::ptrdiff_t _depth(const fs::path& iPath)
{
    return std::distance(iPath.begin(), iPath.end());
}

void _clear(const fs::path& iDirectory)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(iDirectory))
    {
        fs::remove_all(entry);
    }
}
} // namespace

DirectoryImage::DirectoryImage(fs::path iDirectory, fs::path iSpare)
    : fDirectory(std::move(iDirectory)), fSpare(std::move(iSpare))
{
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(fDirectory))
    {
        add(entry);
    }
    // A directory in memory lists its newest entry first: the order in which they come back.
    std::reverse(fEntries.begin(), fEntries.end());
    std::stable_sort(fEntries.begin(), fEntries.end(),
                     [](const Entry& iFirst, const Entry& iSecond)
                     { return _depth(iFirst.path) < _depth(iSecond.path); });
}

DirectoryImage::~DirectoryImage()
{
    std::error_code error;
    fs::remove_all(fSpare, error);
    fs::create_directory(fSpare, error);
}

void DirectoryImage::add(const fs::directory_entry& iFound)
{
    Entry entry{iFound.path(),
                {},
                iFound.symlink_status().type() == fs::file_type::regular,
                iFound.symlink_status().permissions(),
                {},
                _changed(iFound.path())};
    if (!fs::is_directory(iFound.symlink_status()))
    {
        entry.spare = fSpare / std::to_string(fEntries.size());
        fs::create_hard_link(entry.path, entry.spare);
    }
    if (entry.isRegular)
    {
        entry.content = _read(entry.path);
    }
    fEntries.push_back(std::move(entry));
}

void DirectoryImage::restore() const
{
    _clear(fDirectory);
    for (const Entry& entry : fEntries)
    {
        if (entry.spare.empty())
        {
            fs::create_directory(entry.path);
            fs::permissions(entry.path, entry.permissions);
            continue;
        }
        fs::create_hard_link(entry.spare, entry.path);
        if (entry.isRegular)
        {
            restoreContent(entry);
        }
    }
}

void DirectoryImage::restoreContent(const Entry& iEntry)
{
    fs::permissions(iEntry.path, iEntry.permissions);
    if (_read(iEntry.path) != iEntry.content)
    {
        std::ofstream file(iEntry.path, std::ios::binary | std::ios::trunc);
        if (!(file << iEntry.content).flush())
        {
            throw std::system_error(errno, std::generic_category(), iEntry.path);
        }
    }
    const timespec times[2] = {iEntry.changed, iEntry.changed};
    if (utimensat(AT_FDCWD, iEntry.path.c_str(), times, 0) != 0)
    {
        throw std::system_error(errno, std::generic_category(), iEntry.path);
    }
}
} // namespace schedules
