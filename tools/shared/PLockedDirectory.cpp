// SPDX-License-Identifier: MIT
#include "shared/PLockedDirectory.h"

#include "helpers/ResultText.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace
{
constexpr std::chrono::seconds kLongestWait{10};
constexpr std::chrono::milliseconds kPause{10};
constexpr std::size_t kBlock = 65536;

/// Returns 0 or an errno.
int _lock(int iFile)
{
    const auto end = std::chrono::steady_clock::now() + kLongestWait;
    while (::flock(iFile, LOCK_EX | LOCK_NB) != 0)
    {
        if (errno != EWOULDBLOCK && errno != EINTR)
        {
            return errno;
        }
        if (std::chrono::steady_clock::now() > end)
        {
            return EWOULDBLOCK;
        }
        std::this_thread::sleep_for(kPause);
    }
    return 0;
}

std::string _freshName(const std::string& iName)
{
    return iName + ".new";
}

[[noreturn]] void _fail(const std::string& iPath, int iError, const std::string& iWhat)
{
    throw PFileError(iPath + ": " + ixlaResultText(-iError) + "; " + iWhat);
}

/// The text of an error without that of its code.
std::string _subject(const std::system_error& iError)
{
    const std::string text = iError.what();
    return text.substr(0, text.find(": "));
}
} // namespace

PLockedDirectory::PLockedDirectory(const std::string& iPath)
    : fPath(iPath), fDirectory(::open(iPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (!fDirectory)
    {
        _fail(iPath, errno, "the directory must exist and be readable");
    }
    if (const int error = _lock(fDirectory.get()))
    {
        _fail(iPath, error, "another tool changes files of this directory; try again");
    }
}

std::string PLockedDirectory::pathOf(const std::string& iName) const
{
    return fPath == "." ? iName : fPath + (fPath.back() == '/' ? "" : "/") + iName;
}

bool PLockedDirectory::exists(const std::string& iName) const
{
    struct stat status = {};
    return ::fstatat(fDirectory.get(), iName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

std::optional<std::string> PLockedDirectory::read(const std::string& iName) const
{
    const PFileDescriptor file = openFile(iName);
    return file ? std::optional<std::string>(readFile(file.get(), pathOf(iName))) : std::nullopt;
}

std::string PLockedDirectory::readPath(const std::string& iPath)
{
    const PFileDescriptor file(::open(iPath.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
    if (!file)
    {
        _fail(iPath, errno, "the file must exist and be readable");
    }
    return readFile(file.get(), iPath);
}

PFileStatus PLockedDirectory::statusOf(const std::string& iName) const
{
    const PFileDescriptor file = openFile(iName);
    try
    {
        return file ? PFileStatus::of(file.get()) : PFileStatus::ofNewFileIn(fDirectory.get());
    }
    catch (const std::system_error& error)
    {
        fail(iName, error.code().value(), _subject(error));
    }
}

void PLockedDirectory::write(const std::string& iName, const std::string& iBytes,
                             const PFileStatus& iStatus)
{
    const std::string fresh = _freshName(iName);
    try
    {
        fill(fresh, iBytes, iStatus);
        rename(fresh, iName);
    }
    catch (const PFileError&)
    {
        // Its result is ignored: the earlier failure is reported.
        static_cast<void>(::unlinkat(fDirectory.get(), fresh.c_str(), 0));
        throw;
    }
}

void PLockedDirectory::rename(const std::string& iFrom, const std::string& iTo)
{
    if (::renameat(fDirectory.get(), iFrom.c_str(), fDirectory.get(), iTo.c_str()) != 0)
    {
        fail(iTo, errno, "its directory must be writable");
    }
    sync();
}

void PLockedDirectory::remove(const std::string& iName)
{
    if (::unlinkat(fDirectory.get(), iName.c_str(), 0) != 0 && errno != ENOENT)
    {
        fail(iName, errno, "its directory must be writable");
    }
    sync();
}

/// No file for one that does not exist.
PFileDescriptor PLockedDirectory::openFile(const std::string& iName) const
{
    const int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const int file = ::openat(fDirectory.get(), iName.c_str(), flags);
    const int error = errno;
    struct stat status = {};
    if (error == ELOOP && file < 0)
    {
        fail(iName, ELOOP, "a symbolic link would be replaced; name the file itself");
    }
    if (file < 0 && error != ENOENT)
    {
        fail(iName, error, "the file must be readable");
    }
    if (file >= 0 && (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)))
    {
        ::close(file);
        fail(iName, EINVAL, "it is not a regular file");
    }
    return PFileDescriptor(file);
}

void PLockedDirectory::fill(const std::string& iName, const std::string& iBytes,
                            const PFileStatus& iStatus)
{
    // A file of an earlier process is not reused, because others may have it open.
    static_cast<void>(::unlinkat(fDirectory.get(), iName.c_str(), 0));
    PFileDescriptor file(::openat(fDirectory.get(), iName.c_str(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file)
    {
        fail(iName, errno, "its directory must be writable");
    }
    if (const int error = file.writeAll(iBytes))
    {
        fail(iName, error, "the disk needs space for it; nothing was changed");
    }
    try
    {
        iStatus.applyTo(file.get());
    }
    catch (const std::system_error& error)
    {
        fail(iName, error.code().value(),
             _subject(error) + "; run the tool as the owner of the file; nothing was changed");
    }
    const int synced = ::fsync(file.get()) == 0 ? 0 : errno;
    const int closed = file.close();
    if (synced != 0 || closed != 0)
    {
        fail(iName, synced != 0 ? synced : closed,
             "the disk must be writable; nothing was changed");
    }
}

void PLockedDirectory::sync()
{
    // Some file systems cannot synchronise a directory; the names are as safe as they make them.
    if (::fsync(fDirectory.get()) != 0 && errno != EINVAL && errno != ENOTSUP)
    {
        _fail(fPath, errno, "the directory cannot be synchronised with the disk");
    }
}

std::string PLockedDirectory::readFile(int iFile, const std::string& iPath)
{
    std::string bytes;
    for (;;)
    {
        const std::size_t length = bytes.size();
        bytes.resize(length + kBlock);
        const ssize_t read = ::read(iFile, bytes.data() + length, kBlock);
        if (read < 0 && errno != EINTR)
        {
            _fail(iPath, errno, "the file must be readable");
        }
        bytes.resize(length + (read > 0 ? static_cast<std::size_t>(read) : 0));
        if (read == 0)
        {
            return bytes;
        }
    }
}

void PLockedDirectory::fail(const std::string& iName, int iError, const std::string& iWhat) const
{
    _fail(pathOf(iName), iError, iWhat);
}
