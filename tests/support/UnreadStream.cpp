// SPDX-License-Identifier: MIT
#include "support/UnreadStream.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

UnreadStream::UnreadStream(EKind iKind) : fKept(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10))
{
    int ends[2] = {-1, -1};
    switch (iKind)
    {
    case ePipe:
        EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
        break;
    case eSocket:
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
        break;
    case eTerminal:
        makeTerminal(ends);
        break;
    }
    fReader = ends[0];
    fcntl(fReader, F_SETFL, fcntl(fReader, F_GETFL) | O_NONBLOCK);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
}

UnreadStream::~UnreadStream()
{
    dup2(fKept, STDERR_FILENO);
    close(fKept);
    closeReader();
}

std::string UnreadStream::name(EKind iKind)
{
    constexpr const char* kNames[] = {"Pipe", "Socket", "Terminal"};
    return kNames[iKind];
}

/// One that shows every byte as it is.
void UnreadStream::makeTerminal(int (&oEnds)[2])
{
    oEnds[0] = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (oEnds[0] < 0)
    {
        fMissing = std::string("no pseudo terminal: ") + std::strerror(errno);
        return;
    }
    ASSERT_EQ(0, grantpt(oEnds[0]));
    ASSERT_EQ(0, unlockpt(oEnds[0]));
    char path[64];
    ASSERT_EQ(0, ptsname_r(oEnds[0], path, sizeof path));
    oEnds[1] = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios mode{};
    ASSERT_EQ(0, tcgetattr(oEnds[1], &mode));
    cfmakeraw(&mode);
    ASSERT_EQ(0, tcsetattr(oEnds[1], TCSANOW, &mode));
}

void UnreadStream::fill()
{
    const int mode = fcntl(STDERR_FILENO, F_GETFL);
    fcntl(STDERR_FILENO, F_SETFL, mode | O_NONBLOCK);
    const std::string bytes(4096, 'f');
    pollfd stream = {STDERR_FILENO, POLLOUT, 0};
    // Writes the last bytes one by one, so that no room is left. A terminal still moves bytes for a
    // moment.
    do
    {
        while (write(STDERR_FILENO, bytes.data(), bytes.size()) > 0)
        {
        }
        while (write(STDERR_FILENO, bytes.data(), 1) > 0)
        {
        }
    } while (poll(&stream, 1, 100) > 0);
    fcntl(STDERR_FILENO, F_SETFL, mode);
}

std::string UnreadStream::readAll()
{
    std::string all;
    char bytes[4096];
    pollfd reader = {fReader, POLLIN, 0};
    // Output of a terminal arrives after a moment.
    while (poll(&reader, 1, 100) > 0)
    {
        const ssize_t size = read(fReader, bytes, sizeof bytes);
        if (size <= 0)
        {
            break;
        }
        all.append(bytes, static_cast<std::size_t>(size));
    }
    return all;
}

void UnreadStream::closeReader()
{
    if (fReader >= 0)
    {
        close(fReader);
        fReader = -1;
    }
}
