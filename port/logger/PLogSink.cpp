// SPDX-License-Identifier: MIT
#include "PLogSink.h"

#include "PLogReader.h"
#include "PSafeWrite.h"
#include "portinglayer/PDescriptor.h"
#include "portinglayer/PRetry.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr mode_t kFileMode = 0644;
constexpr int kRotations = 1000; // the most rotations of other writers that a line follows

int _state(int iHandle, struct stat& oState) noexcept
{
    return PRetry::call([&] { return ::fstat(iHandle, &oState); });
}

int _truncate(int iHandle, off_t iSize) noexcept
{
    return PRetry::call([=] { return ::ftruncate(iHandle, iSize); });
}

// O_NONBLOCK, because a log that is a pipe must not block the process, neither here nor in a write.
int _open(const char* iPath, bool iNew) noexcept
{
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | (iNew ? O_TRUNC : 0);
    PDescriptor file(iPath, flags, kFileMode);
    return file.result() == 0 ? file.release() : file.result();
}
} // namespace

PLogSink::PLogSink(const std::string& iPath, bool iNew, const PLogLimits& iLimits)
    : fPath(iPath),
      fLimits(iLimits),
      fNew(iNew),
      fHandle(-1),
      fIdentity{},
      fRegular(false),
      fTorn(false),
      fSize(0),
      fKept(0),
      fLines(0)
{
}

PLogSink::~PLogSink()
{
    close();
}

int PLogSink::open() noexcept
{
    int handle = _open(fPath.current(), fNew);
    if (handle == -ENOENT)
    {
        const int result = fPath.makeDirectories();
        handle = result != 0 ? result : _open(fPath.current(), fNew);
    }
    if (handle < 0)
    {
        return handle;
    }
    fHandle = handle;
    fNew = false;
    fSizeLimit.forget();
    examine();
    return 0;
}

/// Reads size, line count and identity of the file that was just opened.
void PLogSink::examine() noexcept
{
    struct stat state = {};
    fRegular = _state(fHandle, state) == 0 && S_ISREG(state.st_mode);
    fIdentity = {state.st_dev, state.st_ino};
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

/// Checks whether the file ends with a line end, and counts its lines from iFrom on, unless the
/// file is full anyway. The lines of a file that may not be read are not counted.
void PLogSink::readOn(unsigned long long iFrom) noexcept
{
    const PLogReader reader(fPath.current(), fIdentity);
    if (!reader.isLog())
    {
        return;
    }
    fTorn = reader.isTorn(fSize);
    const bool isLarge = fLimits.size > 0 && fSize - fKept >= fLimits.size;
    if (!isLarge && fLines < fLimits.lines)
    {
        fLines += reader.countLines(iFrom, fSize, fLimits.lines - fLines);
    }
}

int PLogSink::put(std::string_view iBytes, unsigned int iLines, std::time_t iSecond) noexcept
{
    int result = fHandle < 0 ? open() : 0;
    if (result == 0 && isLimited())
    {
        result = makeRoom(iBytes.size(), iLines);
    }
    const bool isGuarded = !fRegular || !fSizeLimit.isNone(iSecond);
    if (result == 0 && fTorn)
    {
        result = append("\n", isGuarded);
        fLines += result == 0;
        fTorn = fTorn && result != 0;
    }
    if (result == 0)
    {
        result = append(iBytes, isGuarded);
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
        if (fTurn.hasWaited())
        {
            fSizeLimit.forget();
        }
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
    if (PRetry::call([&] { return ::stat(fPath.current(), &named); }) != 0)
    {
        return errno == ENOENT;
    }
    if (!fIdentity.is(named.st_dev, named.st_ino))
    {
        return true;
    }
    oSize = static_cast<unsigned long long>(named.st_size);
    return false;
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
    if (fLimits.parts > 0 && fPath.moveAside(fLimits.parts))
    {
        return true;
    }
    if (fLimits.parts == 0 && _truncate(fHandle, 0) == 0)
    {
        fTorn = false;
        fSize = 0;
        fSizeLimit.forget();
    }
    fKept = fSize;
    fLines = 0;
    return false;
}

int PLogSink::append(std::string_view iBytes, bool iIsGuarded) noexcept
{
    std::size_t done = 0;
    while (done < iBytes.size())
    {
        const char* const rest = iBytes.data() + done;
        const std::size_t size = iBytes.size() - done;
        const ssize_t written = iIsGuarded ? PSafeWrite::write(fHandle, rest, size)
                                           : PSafeWrite::writeUnguarded(fHandle, rest, size);
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
