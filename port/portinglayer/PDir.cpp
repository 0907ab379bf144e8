// SPDX-License-Identifier: MIT
#include "PDir.h"

#include "PCancelGuard.h"
#include "PErrno.h"
#include "PPathBytes.h"
#include "PRetry.h"
#include "PUtf8.h"

#include <algorithm>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <new>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace
{
struct CloseDir
{
    void operator()(DIR* iDir) const noexcept
    {
        const PCancelGuard guard;
        // An error has no meaning: the directory was only read.
        closedir(iDir);
    }
};

DIR* _openDir(const char* iPath) noexcept
{
    const PCancelGuard guard;
    DIR* dir = opendir(iPath);
    while (!dir && errno == EINTR)
    {
        dir = opendir(iPath);
    }
    return dir;
}

/// The next entry; null with an errno of 0 at the end.
const dirent* _nextEntry(DIR* iDir) noexcept
{
    const PCancelGuard guard;
    const dirent* entry = nullptr;
    do
    {
        errno = 0;
        entry = readdir(iDir); // NOLINT(concurrency-mt-unsafe): no other thread uses the stream
    } while (!entry && errno == EINTR);
    return entry;
}

/// Whether a whole name matches a pattern of "*" and "?". After a mismatch only the last "*" is
/// extended by a character, so the time is at most proportional to the product of both lengths.
bool _matches(const PLiteral& iName, const PLiteral& iFilter) noexcept
{
    const wchar_t* name = iName.ptr();
    const wchar_t* const nameEnd = name + iName.len();
    const wchar_t* filter = iFilter.ptr();
    const wchar_t* const filterEnd = filter + iFilter.len();
    const wchar_t* star = nullptr;
    const wchar_t* retry = nullptr;
    while (name != nameEnd)
    {
        if (filter != filterEnd && *filter == L'*')
        {
            star = ++filter;
            retry = name;
        }
        else if (filter != filterEnd && (*filter == L'?' || *filter == *name))
        {
            ++filter;
            ++name;
        }
        else if (star)
        {
            filter = star;
            name = ++retry;
        }
        else
        {
            return false;
        }
    }
    return std::all_of(filter, filterEnd, [](wchar_t c) { return c == L'*'; });
}

/// Follows links. A dangling link is not a directory.
bool _isDirectory(DIR* iDir, const dirent& iEntry) noexcept
{
    if (iEntry.d_type != DT_UNKNOWN && iEntry.d_type != DT_LNK)
    {
        return iEntry.d_type == DT_DIR;
    }
    struct stat status = {};
    const int found = PRetry::call([&] { return fstatat(dirfd(iDir), iEntry.d_name, &status, 0); });
    return found == 0 && S_ISDIR(status.st_mode);
}

PString _wideName(const std::string& iName)
{
    wchar_t chars[NAME_MAX + 1];
    const std::size_t len = std::min<std::size_t>(iName.size(), NAME_MAX);
    const std::size_t count = PUtf8::decodePath(iName.data(), len, chars);
    return PString(chars, static_cast<unsigned int>(count));
}

/// Reads the names of all entries that are not directories, as bytes.
int _readNames(DIR* iDir, std::vector<std::string>& oNames)
{
    for (;;)
    {
        const dirent* const entry = _nextEntry(iDir);
        if (!entry)
        {
            return errno != 0 ? PErrno::last() : 0;
        }
        if (!_isDirectory(iDir, *entry))
        {
            oNames.emplace_back(entry->d_name);
        }
    }
}
} // namespace

PDir::PDir(const PLiteral& iDir, const PLiteral& iFilter)
    : fDir(iDir), fFilter(iFilter), fCurrent(0)
{
}

PDir::~PDir() = default;

int PDir::preaddir() noexcept
{
    fEntries.clear();
    fCurrent = 0;
    const PPathBytes path(fDir);
    if (path.result() != 0)
    {
        return path.result();
    }
    const std::unique_ptr<DIR, CloseDir> dir(_openDir(path.get()));
    if (!dir)
    {
        return PErrno::last();
    }
    try
    {
        std::vector<std::string> names;
        const int res = _readNames(dir.get(), names);
        if (res != 0)
        {
            return res;
        }
        std::sort(names.begin(), names.end());
        std::vector<PString> entries;
        entries.reserve(names.size());
        for (const std::string& name : names)
        {
            PString entry = _wideName(name);
            if (_matches(entry, fFilter))
            {
                entries.push_back(std::move(entry));
            }
        }
        fEntries.swap(entries);
        return 0;
    }
    catch (const std::exception&)
    {
        return PErrno::code(ENOMEM);
    }
}

bool PDir::operator==(int iState) const noexcept
{
    return iState == (fCurrent < fEntries.size() ? 0 : 1);
}

PDir& PDir::operator++() noexcept
{
    fCurrent += fCurrent < fEntries.size();
    return *this;
}

const PString& PDir::getEntry() const noexcept
{
    static const PString sNone;
    return fCurrent < fEntries.size() ? fEntries[fCurrent] : sNone;
}
