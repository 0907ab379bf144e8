// SPDX-License-Identifier: MIT
#include "PStandardError.h"

#include "PCancelGuard.h"
#include "PDescriptor.h"
#include "PErrno.h"
#include "PRetry.h"
#include "PWriteSignals.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// The path to open the stream again, with another mode. /proc/self lacks the entry when the first
// thread of the process has ended.
constexpr char kStreamAnew[] = "/proc/thread-self/fd/2";

/// Whether the last text ended without a line end. Any order is enough, because no other data goes
/// with it.
std::atomic<bool> sTorn{false};

/// One attempt to write a part of iText; returns and fails as write(2) does.
ssize_t _write(int iHandle, std::string_view iText) noexcept
{
    return PRetry::call([=] { return ::write(iHandle, iText.data(), iText.size()); });
}

ssize_t _send(std::string_view iText) noexcept
{
    return PRetry::call(
        [=]
        { return ::send(STDERR_FILENO, iText.data(), iText.size(), MSG_DONTWAIT | MSG_NOSIGNAL); });
}

/// For a pipe that may not be opened again: splice from another pipe does not wait, whatever the
/// mode of the stream.
ssize_t _pass(std::string_view iText) noexcept
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
    {
        return -1;
    }
    ssize_t size = _write(ends[1], iText);
    if (size > 0)
    {
        const auto taken = static_cast<std::size_t>(size);
        size = PRetry::call(
            [&] {
                return ::splice(ends[0], nullptr, STDERR_FILENO, nullptr, taken, SPLICE_F_NONBLOCK);
            });
    }
    const int error = errno;
    PDescriptor::close(ends[0]);
    PDescriptor::close(ends[1]);
    errno = error;
    return size;
}

/// For a terminal that may not be opened again: when poll reports it ready, it has room for a byte.
ssize_t _writeReady(std::string_view iText) noexcept
{
    pollfd stream = {STDERR_FILENO, POLLOUT, 0};
    if (PRetry::call([&] { return ::poll(&stream, 1, 0); }) < 0)
    {
        return -1;
    }
    if ((stream.revents & POLLOUT) == 0)
    {
        errno = EAGAIN;
        return -1;
    }
    return _write(STDERR_FILENO, iText.substr(0, 1));
}

/// Repeats iAttempt until iText is written; returns 0 or a negated errno.
template <class TAttempt>
int _writeAll(std::string_view iText, const TAttempt& iAttempt) noexcept
{
    while (!iText.empty())
    {
        const ssize_t size = iAttempt(iText);
        if (size <= 0)
        {
            return size < 0 ? PErrno::last() : PErrno::code(EIO);
        }
        sTorn = iText[static_cast<std::size_t>(size) - 1] != '\n';
        iText.remove_prefix(static_cast<std::size_t>(size));
    }
    return 0;
}

/// Whether the stream is open for writing. A host may have another file there, such as the reading
/// end of a pipe, and opening that again would make it writable.
bool _isWritable() noexcept
{
    const int mode = ::fcntl(STDERR_FILENO, F_GETFL);
    return mode >= 0 && (mode & O_ACCMODE) != O_RDONLY;
}

int _writeNow(std::string_view iText) noexcept
{
    struct stat state = {};
    if (PRetry::call([&] { return ::fstat(STDERR_FILENO, &state); }) != 0)
    {
        return PErrno::last();
    }
    if (S_ISREG(state.st_mode))
    {
        // A write to a file does not wait; a file that is opened again is written from its start.
        return _writeAll(iText,
                         [](std::string_view iRest) { return _write(STDERR_FILENO, iRest); });
    }
    if (S_ISSOCK(state.st_mode))
    {
        return _writeAll(iText, &_send);
    }
    if (!_isWritable())
    {
        return PErrno::code(EBADF);
    }
    const PDescriptor anew(kStreamAnew, O_WRONLY | O_NONBLOCK);
    if (anew.result() == 0)
    {
        return _writeAll(iText, [&](std::string_view iRest) { return _write(anew.get(), iRest); });
    }
    return _writeAll(iText, S_ISFIFO(state.st_mode) ? &_pass : &_writeReady);
}
} // namespace

int PStandardError::write(const char* iBytes, std::size_t iSize) noexcept
{
    const std::string_view text(iBytes, iSize);
    if (text.empty())
    {
        return 0;
    }
    const PCancelGuard guard;
    PWriteSignals signals;
    int result = sTorn ? _writeNow("\n") : 0;
    result = result == 0 ? _writeNow(text) : result;
    signals.takeBack(-result);
    return result;
}
