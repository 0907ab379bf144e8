// SPDX-License-Identifier: MIT
#include "PLogSink.h"

#include "PSafeWrite.h"
#include "portinglayer/PRetry.h"
#include "portinglayer/PUtf8.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <memory>
#include <new>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr mode_t kFileMode = 0644;
constexpr mode_t kDirectoryMode = 0755;
constexpr std::size_t kPartDigits = 16; // "." and the digits of a part number
constexpr int kRotations = 1000;        // the most rotations of other writers that a line follows
constexpr std::size_t kBlock = 65536;
constexpr std::size_t kSmallBlock = 1024;

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

/// Replaces a handle with the number of a standard stream by a higher one. A host may have closed
/// its standard streams, and its output must not go to the log.
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
        // Without a working directory the path stays relative, and opening it reports the error.
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
      fDevice(0),
      fNode(0),
      fRegular(false),
      fTorn(false),
      fSize(0),
      fKept(0),
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

// O_NONBLOCK, because a log that is a pipe must not block the process, neither here nor in a write.
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

/// Reads size, line count and identity of the file that was just opened.
void PLogSink::examine() noexcept
{
    struct stat state = {};
    fRegular = _state(fHandle, state) == 0 && S_ISREG(state.st_mode);
    fDevice = state.st_dev;
    fNode = state.st_ino;
    fTorn = false;
    fSize = 0;
    fKept = 0;
    fLines = 0;
    if (fRegular && state.st_size > 0)
    {
        fSize = static_cast<unsigned long long>(state.st_size);
        readOn(0);
    }
}

/// Opens the file again, for reading. O_NONBLOCK, because another file, even a pipe, may have
/// replaced it and must not block the process.
int PLogSink::openReader() const noexcept
{
    const int reader = _open(fPath.c_str(), O_RDONLY | O_NONBLOCK);
    struct stat state = {};
    if (reader < 0 || (_state(reader, state) == 0 && isOpened(state.st_dev, state.st_ino)))
    {
        return reader;
    }
    ::close(reader);
    return -ENOENT;
}

/// Checks whether the file ends with a line end, and counts its lines from iFrom on, unless the
/// file is full anyway. The lines of a file that may not be read are not counted.
void PLogSink::readOn(unsigned long long iFrom) noexcept
{
    const int reader = openReader();
    if (reader < 0)
    {
        return;
    }
    char last = '\n';
    fTorn = _readAt(reader, &last, 1, fSize - 1) == 1 && last != '\n';
    const bool isLarge = fLimits.size > 0 && fSize - fKept >= fLimits.size;
    if (!isLarge && fLines < fLimits.lines)
    {
        countLines(reader, iFrom);
    }
    ::close(reader);
}

void PLogSink::countLines(int iReader, unsigned long long iFrom) noexcept
{
    Block block;
    ssize_t got = 1;
    for (; fLines < fLimits.lines && iFrom < fSize && got > 0;
         iFrom += static_cast<unsigned long long>(got))
    {
        const auto size = std::min<unsigned long long>(block.size(), fSize - iFrom);
        got = _readAt(iReader, block.bytes(), static_cast<std::size_t>(size), iFrom);
        fLines += static_cast<unsigned long long>(
            std::count(block.bytes(), block.bytes() + std::max<ssize_t>(got, 0), '\n'));
    }
}

int PLogSink::put(std::string_view iBytes, unsigned int iLines) noexcept
{
    int result = fHandle < 0 ? open() : 0;
    if (result == 0 && isLimited())
    {
        result = makeRoom(iBytes.size(), iLines);
    }
    if (result == 0 && fTorn)
    {
        result = append("\n");
        fLines += result == 0;
        fTorn = fTorn && result != 0;
    }
    if (result == 0)
    {
        result = append(iBytes);
        fLines += result == 0 ? iLines : 0;
    }
    fTurn.giveBack();
    return result;
}

bool PLogSink::isLimited() const noexcept
{
    return fRegular && (fLimits.size > 0 || fLimits.lines > 0);
}

/// Takes the turn at the file that the path names, and rotates it when it is full. Starts again
/// each time that another logger has renamed the file meanwhile.
int PLogSink::makeRoom(std::size_t iSize, unsigned int iLines) noexcept
{
    int result = 0;
    for (int round = 0; round < kRotations && result == 0 && isLimited(); ++round)
    {
        const bool isOurs = fTurn.take(fHandle);
        unsigned long long size = fSize;
        if (!isMovedAway(size))
        {
            catchUp(size);
            if (!isOurs || !isFull(iSize, iLines) || !rotate())
            {
                return 0;
            }
        }
        close();
        result = open();
    }
    return result;
}

/// Whether the path names another file now, because another logger or a user has renamed ours. If
/// not, oSize is set to the size of the file, or unchanged if that is unknown.
bool PLogSink::isMovedAway(unsigned long long& oSize) const noexcept
{
    struct stat named = {};
    if (PRetry::call([&] { return ::stat(fPath.c_str(), &named); }) != 0)
    {
        return errno == ENOENT;
    }
    if (!isOpened(named.st_dev, named.st_ino))
    {
        return true;
    }
    oSize = static_cast<unsigned long long>(named.st_size);
    return false;
}

bool PLogSink::isOpened(unsigned long long iDevice, unsigned long long iNode) const noexcept
{
    return iDevice == fDevice && iNode == fNode;
}

/// Includes the lines of other writers in size and count. With no parts a full file is emptied,
/// perhaps meanwhile, so its lines are counted from the start.
void PLogSink::catchUp(unsigned long long iSize) noexcept
{
    if (iSize == fSize)
    {
        return;
    }
    fKept = iSize < fSize ? 0 : fKept;
    const bool isAnew = iSize < fSize || fLimits.parts == 0;
    const unsigned long long from = isAnew ? fKept : fSize;
    fLines = isAnew ? 0 : fLines;
    fSize = iSize;
    if (fLimits.lines > 0 && from < fSize)
    {
        readOn(from);
    }
}

bool PLogSink::isFull(std::size_t iSize, unsigned int iLines) const noexcept
{
    return fSize > fKept && ((fLimits.size > 0 && fSize - fKept + iSize > fLimits.size) ||
                             (fLimits.lines > 0 && fLines + fTorn + iLines > fLimits.lines));
}

/// Returns whether the file was renamed. A file that can be neither renamed nor emptied grows
/// further; the next attempt comes when as much again has been added.
bool PLogSink::rotate() noexcept
{
    if (fLimits.parts > 0 && moveAside())
    {
        return true;
    }
    if (fLimits.parts == 0 && _truncate(fHandle, 0) == 0)
    {
        fTorn = false;
        fSize = 0;
    }
    fKept = fSize;
    fLines = 0;
    return false;
}

/// Renumbers the parts up to the first free number, so that no part is deleted while there is a
/// gap; with all numbers taken the oldest part is deleted. A number whose file cannot be examined
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
            // The host has closed our handle; another file may get its number.
            fHandle = written == -EBADF ? -1 : fHandle;
            return written == 0 ? -EIO : static_cast<int>(written);
        }
        done += static_cast<std::size_t>(written);
    }
    fSize += done;
    return 0;
}

/// Removes the first iSize bytes of a line that was not written completely, unless another writer
/// has appended to them.
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

// The result of each write has been checked; an error of closing could not be attributed to a line.
void PLogSink::close() noexcept
{
    fTurn.giveBack();
    if (fHandle >= 0)
    {
        ::close(fHandle);
        fHandle = -1;
    }
}
