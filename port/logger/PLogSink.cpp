#include "PLogSink.h"

#include "PSafeWrite.h"
#include "portinglayer/PRetry.h"
#include "portinglayer/PUtf8.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr mode_t kFileMode = 0644;
constexpr mode_t kDirectoryMode = 0755;
constexpr std::size_t kPartDigits = 16; // "." and the digits of a part number

int _open(const char* iPath, int iFlags) noexcept
{
    const int handle =
        PRetry::call([=] { return ::open(iPath, iFlags | O_CLOEXEC | O_NOCTTY, kFileMode); });
    return handle < 0 ? -errno : handle;
}

int _state(int iHandle, struct stat& oState) noexcept
{
    return PRetry::call([&] { return ::fstat(iHandle, &oState); });
}

int _truncate(int iHandle, off_t iSize) noexcept
{
    return PRetry::call([=] { return ::ftruncate(iHandle, iSize); });
}

template <std::size_t tSize>
ssize_t _readAt(int iHandle, char (&oBytes)[tSize], off_t iFrom) noexcept
{
    return PRetry::call([&] { return ::pread(iHandle, oBytes, tSize, iFrom); });
}

/// Moves a handle away from those of the standard streams, which a host may have closed: what is
/// printed must not end up in the log.
int _moveOffStandardStreams(int iHandle) noexcept
{
    if (iHandle < 0 || iHandle > STDERR_FILENO)
    {
        return iHandle;
    }
    const int moved = ::fcntl(iHandle, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int result = moved < 0 ? -errno : moved;
    ::close(iHandle);
    return result;
}
} // namespace

int PLogSink::resolve(const PLiteral& iFile, std::string& oPath)
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
        // Without a working directory the path stays relative and opening it tells what is wrong.
        if (::getcwd(directory.data(), directory.size()))
        {
            path.insert(0, std::string(directory.data()) + '/');
        }
    }
    oPath.swap(path);
    return 0;
}

PLogSink::PLogSink(const std::string& iPath, bool iNew, const PLogLimits& iLimits)
    : fPath(iPath),
      fLimits(iLimits),
      fNew(iNew),
      fHandle(-1),
      fRegular(false),
      fTorn(false),
      fSize(0),
      fLines(0)
{
    fFrom.reserve(fPath.size() + kPartDigits);
    fTo.reserve(fPath.size() + kPartDigits);
}

PLogSink::~PLogSink()
{
    close();
}

int PLogSink::open() noexcept
{
    int handle = openHandle();
    if (handle == -ENOENT)
    {
        const int result = makeDirectories();
        handle = result != 0 ? result : openHandle();
    }
    if (handle < 0)
    {
        return handle;
    }
    fHandle = handle;
    fNew = false;
    examine();
    return 0;
}

// A log that is a pipe must not block the process, neither here nor when writing.
int PLogSink::openHandle() const noexcept
{
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | (fNew ? O_TRUNC : 0);
    return _moveOffStandardStreams(_open(fPath.c_str(), flags));
}

int PLogSink::makeDirectories() noexcept
{
    for (std::size_t slash = fPath.find('/', 1); slash != std::string::npos;
         slash = fPath.find('/', slash + 1))
    {
        fFrom.assign(fPath, 0, slash);
        if (PRetry::call([this] { return ::mkdir(fFrom.c_str(), kDirectoryMode); }) != 0 &&
            errno != EEXIST)
        {
            return -errno;
        }
    }
    return 0;
}

/// Learns what an opened file holds. Reading fails for a file that may only be written; then its
/// lines are not counted.
void PLogSink::examine() noexcept
{
    struct stat state = {};
    fRegular = _state(fHandle, state) == 0 && S_ISREG(state.st_mode);
    fSize = fRegular ? static_cast<unsigned long long>(state.st_size) : 0;
    fLines = 0;
    fTorn = false;
    const int reader = fSize > 0 ? _open(fPath.c_str(), O_RDONLY) : -1;
    if (reader < 0)
    {
        return;
    }
    char bytes[4096];
    off_t from = fLimits.lines > 0 ? 0 : state.st_size - 1;
    for (ssize_t got = 0; (got = _readAt(reader, bytes, from)) > 0; from += got)
    {
        fLines += static_cast<unsigned long long>(std::count(bytes, bytes + got, '\n'));
        fTorn = bytes[got - 1] != '\n';
    }
    fLines += fTorn;
    ::close(reader);
}

int PLogSink::put(std::string_view iBytes, unsigned int iLines) noexcept
{
    int result = fHandle < 0 ? open() : 0;
    // The second round is for a file that another logger has filled after moving ours aside.
    for (int round = 0; round < 2 && result == 0 && isFull(iBytes.size(), iLines); ++round)
    {
        result = rotate();
    }
    if (result == 0 && fTorn)
    {
        result = append("\n");
        fTorn = fTorn && result != 0;
    }
    if (result == 0)
    {
        result = append(iBytes);
        fLines += result == 0 ? iLines : 0;
    }
    return result;
}

bool PLogSink::isFull(std::size_t iSize, unsigned int iLines) const noexcept
{
    return fRegular && fSize > 0 &&
           ((fLimits.size > 0 && fSize + iSize > fLimits.size) ||
            (fLimits.lines > 0 && fLines + iLines > fLimits.lines));
}

int PLogSink::rotate() noexcept
{
    if (isMovedAway() || (fLimits.parts > 0 && moveAside()))
    {
        close();
        return open();
    }
    if (fLimits.parts == 0 && _truncate(fHandle, 0) == 0)
    {
        fTorn = false;
    }
    // A file that could be neither moved nor emptied grows on, and is tried again when as much
    // has been added once more.
    fSize = 0;
    fLines = 0;
    return 0;
}

/// Whether the path leads to another file by now: a second logger of the same file, or a person,
/// has moved ours.
bool PLogSink::isMovedAway() const noexcept
{
    struct stat ours = {};
    struct stat theirs = {};
    if (_state(fHandle, ours) != 0)
    {
        return false;
    }
    if (PRetry::call([&] { return ::stat(fPath.c_str(), &theirs); }) != 0)
    {
        return errno == ENOENT;
    }
    return ours.st_dev != theirs.st_dev || ours.st_ino != theirs.st_ino;
}

/// Moves the older parts up as far as the first number that is free, so that a gap costs no part
/// its lines; only with all numbers taken does the oldest go. A number that cannot be looked at
/// counts as taken.
bool PLogSink::moveAside() noexcept
{
    unsigned int free = 1;
    struct stat ignored = {};
    for (; free < fLimits.parts; ++free)
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
void PLogSink::partName(unsigned int iPart, std::string& oName) const noexcept
{
    oName.assign(fPath);
    if (iPart > 0)
    {
        char digits[kPartDigits] = {'.'};
        const std::to_chars_result result =
            std::to_chars(digits + 1, digits + sizeof digits, iPart);
        oName.append(digits, static_cast<std::size_t>(result.ptr - digits));
    }
}

int PLogSink::append(std::string_view iBytes) noexcept
{
    std::size_t done = 0;
    while (done < iBytes.size())
    {
        const char* const rest = iBytes.data() + done;
        const std::size_t size = iBytes.size() - done;
        const ssize_t written = fRegular ? PSafeWrite::writeFile(fHandle, rest, size, fSize + done)
                                         : PSafeWrite::write(fHandle, rest, size);
        if (written <= 0)
        {
            cutOff(done);
            // Somebody closed our handle, and its number may soon be that of another file.
            fHandle = written == -EBADF ? -1 : fHandle;
            return written == 0 ? -EIO : static_cast<int>(written);
        }
        done += static_cast<std::size_t>(written);
    }
    fSize += done;
    return 0;
}

/// Removes the first iSize bytes of a line whose rest could not be written, unless somebody else
/// has written behind them.
void PLogSink::cutOff(std::size_t iSize) noexcept
{
    if (iSize == 0)
    {
        return;
    }
    struct stat state = {};
    const off_t end = ::lseek(fHandle, 0, SEEK_CUR);
    if (end < 0 || _state(fHandle, state) != 0 || state.st_size != end ||
        _truncate(fHandle, end - static_cast<off_t>(iSize)) != 0)
    {
        fTorn = true;
        fSize += iSize;
    }
}

// Every byte has been handed to the system and its result looked at; what closing could still
// tell would find no line to be told about.
void PLogSink::close() noexcept
{
    if (fHandle >= 0)
    {
        ::close(fHandle);
        fHandle = -1;
    }
}
