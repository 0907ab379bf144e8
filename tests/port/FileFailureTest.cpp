// SPDX-License-Identifier: MIT
#include "portinglayer/PFile.h"
#include "support/FileFaults.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
class FileFailure : public testing::Test
{
protected:
    int openNew()
    {
        return file.popen(dir.wideFile("out.txt"), PFile::eWrite | PFile::eNewText | PFile::eCreate,
                          0);
    }

    TempDir dir;
    PFile file;
};
} // namespace

TEST_F(FileFailure, InterruptedOpenIsRepeated)
{
    FileFaults::open.arm(EINTR, 3);

    EXPECT_EQ(0, openNew());
    EXPECT_EQ(4, FileFaults::open.calls());
}

TEST_F(FileFailure, InterruptedWriteIsRepeated)
{
    ASSERT_EQ(0, openNew());
    FileFaults::write.arm(EINTR, 3);

    EXPECT_EQ(0, file.pwriteLine(L"a"));
    EXPECT_EQ(0, file.pclose());

    EXPECT_EQ("a\n", dir.read("out.txt"));
}

TEST_F(FileFailure, ShortWriteIsContinued)
{
    ASSERT_EQ(0, openNew());
    FileFaults::write.shorten(3);

    EXPECT_EQ(0, file.pwriteLine(L"abcdef"));
    EXPECT_EQ(0, file.pclose());

    EXPECT_EQ("abcdef\n", dir.read("out.txt"));
}

TEST_F(FileFailure, WriteOfNoBytesIsAnError)
{
    ASSERT_EQ(0, openNew());
    FileFaults::write.shorten(0);

    EXPECT_EQ(0, file.pwriteLine(L"a"));
    EXPECT_EQ(-EIO, file.pclose());
}

TEST_F(FileFailure, PipeWithoutReaderDoesNotEndTheProcess)
{
    mkfifo(dir.file("out.txt").c_str(), 0600);
    const int reader = open(dir.file("out.txt").c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_EQ(0, file.popen(dir.wideFile("out.txt"), PFile::eWrite, 0));
    close(reader);

    EXPECT_EQ(0, file.pwriteLine(L"a"));
    EXPECT_EQ(-EPIPE, file.pclose());

    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(0, sigismember(&pending, SIGPIPE));
}

TEST_F(FileFailure, SignalThatWaitedBeforeAWriteStaysPending)
{
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGPIPE);
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    raise(SIGPIPE);
    mkfifo(dir.file("out.txt").c_str(), 0600);
    const int reader = open(dir.file("out.txt").c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_EQ(0, file.popen(dir.wideFile("out.txt"), PFile::eWrite, 0));
    close(reader);

    EXPECT_EQ(0, file.pwriteLine(L"a"));
    EXPECT_EQ(-EPIPE, file.pclose());

    const timespec noWait{};
    EXPECT_EQ(SIGPIPE, sigtimedwait(&blocked, nullptr, &noWait));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}
