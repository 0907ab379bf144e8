// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"
#include "support/Deadline.h"
#include "support/FileFaults.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace
{
class LogFailure : public LogTest
{
};
} // namespace

TEST_F(LogFailure, EachLineIsOneWrite)
{
    init();
    FileFaults::write.arm(0, 0);

    info("a");
    info(filler(5000));

    EXPECT_EQ(2, FileFaults::write.calls());
}

TEST_F(LogFailure, FilteredLineWritesNothing)
{
    init();
    FileFaults::write.arm(0, 0);

    PLogger::debug(logger.get(), 1, L"a");

    EXPECT_EQ(0, FileFaults::write.calls());
}

TEST_F(LogFailure, FullDiskIsReported)
{
    EXPECT_EQ(0, init({.file = "/dev/full"}));

    EXPECT_EQ(-ENOSPC, info("a"));
    EXPECT_EQ(-ENOSPC, PLogger::error(logger.get(), 0, L"b"));
    EXPECT_EQ(-ENOSPC, PLogger::dumpHex(logger.get(), 0, "c", 1, 16));
}

TEST_F(LogFailure, LostLinesAreReportedByAnErrorLine)
{
    init();
    FileFaults::write.arm(EIO, 2);
    EXPECT_EQ(-EIO, info("lost"));
    EXPECT_EQ(-EIO, info("lost too"));

    EXPECT_EQ(0, info("a"));

    EXPECT_THAT(texts(), ElementsAre(lossReport(2, -EIO), "a"));
    EXPECT_THAT(lines()[0], HasSubstr(" E tag "));
}

TEST_F(LogFailure, LostLinesAreReportedOnce)
{
    init();
    FileFaults::write.arm(ENOSPC);
    info("lost");

    info("a");
    info("b");

    EXPECT_THAT(texts(), ElementsAre(lossReport(1, -ENOSPC), "a", "b"));
}

TEST_F(LogFailure, LastCodeIsReported)
{
    init();
    FileFaults::write.arm(EIO);
    info("lost");
    FileFaults::write.arm(ENOSPC);
    info("lost too");

    info("a");

    EXPECT_THAT(texts(), ElementsAre(lossReport(2, -ENOSPC), "a"));
}

TEST_F(LogFailure, LostLinesOfADumpCountOneByOne)
{
    init();
    FileFaults::write.arm(ENOSPC, 2);

    EXPECT_EQ(-ENOSPC, PLogger::dumpHex(logger.get(), 0, "abc", 3, 1));

    EXPECT_THAT(texts(), ElementsAre(lossReport(2, -ENOSPC), "00000002  63  |c|"));
}

TEST_F(LogFailure, LostLinesAreReportedAtTheEnd)
{
    init();
    FileFaults::write.arm(ENOSPC);
    info("lost");

    logger.reset();

    EXPECT_THAT(texts(), ElementsAre(lossReport(1, -ENOSPC)));
}

TEST_F(LogFailure, InterruptedWriteIsRepeated)
{
    init();
    FileFaults::write.arm(EINTR, 3);

    EXPECT_EQ(0, info("a"));

    EXPECT_THAT(texts(), ElementsAre("a"));
}

TEST_F(LogFailure, InterruptedOpenIsRepeated)
{
    FileFaults::open.arm(EINTR, 3);

    EXPECT_EQ(0, init());
    EXPECT_EQ(0, info("a"));

    EXPECT_THAT(texts(), ElementsAre("a"));
}

TEST_F(LogFailure, WriteOfNoBytesLosesTheLine)
{
    init();
    FileFaults::write.shorten(0);

    EXPECT_EQ(-EIO, info("lost"));
    EXPECT_EQ(0, info("a"));

    EXPECT_THAT(texts(), ElementsAre(lossReport(1, -EIO), "a"));
}

TEST_F(LogFailure, ShortWriteIsContinued)
{
    init();
    FileFaults::write.shorten(10);

    EXPECT_EQ(0, info("a"));

    EXPECT_THAT(texts(), ElementsAre("a"));
}

TEST_F(LogFailure, PartialLineIsRemoved)
{
    init();
    info("a");
    FileFaults::write.shorten(10);
    FileFaults::write.arm(ENOSPC);

    EXPECT_EQ(-ENOSPC, info("lost"));

    EXPECT_THAT(texts(), ElementsAre("a"));
    EXPECT_EQ('\n', dir.read("test.log").back());
}

TEST_F(LogFailure, PartialLineThatCannotBeRemovedIsTerminated)
{
    init();
    FileFaults::write.shorten(10);
    FileFaults::write.arm(ENOSPC);
    FileFaults::truncate.arm(EPERM);
    info("lost");

    EXPECT_EQ(0, info("a"));

    ASSERT_EQ(3u, lines().size());
    EXPECT_EQ(10u, lines()[0].size());
    EXPECT_EQ(lossReport(1, -ENOSPC), texts()[1]);
    EXPECT_EQ("a", texts()[2]);
}

TEST_F(LogFailure, PartialLineFollowedByOtherLinesStays)
{
    init();
    FileFaults::write.shorten(10);
    FileFaults::write.arm(ENOSPC);
    FileFaults::write.onStrike(
        [this] { std::ofstream(dir.path() / "test.log", std::ios::app) << "\nother\n"; });

    EXPECT_EQ(-ENOSPC, info("lost"));

    ASSERT_EQ(2u, lines().size());
    EXPECT_EQ(10u, lines()[0].size());
    EXPECT_EQ("other", lines()[1]);
}

TEST_F(LogFailure, UnwrittenLineLeavesNoEmptyLine)
{
    init();
    FileFaults::write.arm(ENOSPC);
    FileFaults::truncate.arm(EPERM);
    info("lost");

    EXPECT_EQ(0, info("a"));

    EXPECT_THAT(texts(), ElementsAre(lossReport(1, -ENOSPC), "a"));
}

TEST_F(LogFailure, FileThatCannotBeTruncatedGrowsFurther)
{
    init({.maxCount = 1});
    info("a");
    FileFaults::truncate.arm(EPERM);

    EXPECT_EQ(0, info("b"));

    EXPECT_THAT(texts(), ElementsAre("a", "b"));
}

TEST_F(LogFailure, FileThatCannotBeOpenedAfterRotationIsTriedAgain)
{
    init({.parts = 1, .maxCount = 1});
    info("a");
    FileFaults::open.arm(EMFILE, 2);
    EXPECT_EQ(-EMFILE, info("lost"));
    EXPECT_EQ(-EMFILE, info("lost too"));

    EXPECT_EQ(0, info("b"));

    EXPECT_THAT(texts("test.log.1"), ElementsAre("a"));
    EXPECT_THAT(texts(), ElementsAre(lossReport(2, -EMFILE), "b"));
}

TEST_F(LogFailure, ClosedHandleIsOpenedAgain)
{
    init();
    info("a");
    close(handleOf());

    EXPECT_EQ(-EBADF, info("lost"));
    EXPECT_EQ(0, info("b"));

    EXPECT_THAT(texts(), ElementsAre("a", lossReport(1, -EBADF), "b"));
}

TEST_F(LogFailure, NewLogIsTruncatedOnlyOnce)
{
    init({.isNew = true});
    info("a");
    close(handleOf());
    info("lost");

    info("b");

    EXPECT_THAT(texts(), ElementsAre("a", lossReport(1, -EBADF), "b"));
}

TEST_F(LogFailure, LoggerOfTheParentIsRefusedInAChild)
{
    init({.parts = 1, .maxCount = 1});
    info("a");

    const pid_t child = fork();
    if (child == 0)
    {
        const bool isRefused = info("b") == -EOWNERDEAD &&
                               PLogger::dumpHex(logger.get(), 0, "c", 1, 16) == -EOWNERDEAD;
        logger.reset();
        _exit(isRefused ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);

    EXPECT_EQ(0, status);
    EXPECT_EQ(0, info("d"));
    EXPECT_THAT(texts("test.log.1"), ElementsAre("a"));
    EXPECT_THAT(texts(), ElementsAre("d"));
}

namespace
{
/// A log with one line that is replaced by another file while it is being opened.
class LogReplaced : public LogTest
{
protected:
    ~LogReplaced() override
    {
        FileFaults::disarm();
    }

    /// Runs iReplace after the log has been opened for writing, before it is opened for reading.
    void whenRead(const std::function<void()>& iReplace)
    {
        dir.write("test.log", "before\n");
        FileFaults::open.arm(EINTR, 1, 1);
        FileFaults::open.onStrike(
            [this, iReplace]
            {
                std::filesystem::rename(dir.file("test.log"), dir.file("moved.log"));
                iReplace();
            });
    }
};
} // namespace

TEST_F(LogReplaced, PipeInItsPlaceDoesNotBlockTheOpening)
{
    const Deadline deadline;
    whenRead([this] { mkfifo(dir.file("test.log").c_str(), 0600); });

    EXPECT_EQ(0, init());

    EXPECT_EQ(0, info("a"));
    EXPECT_EQ(2u, lines("moved.log").size());
}

TEST_F(LogReplaced, OtherFileInItsPlaceIsNotReadAsTheLog)
{
    whenRead([this] { dir.write("test.log", "longer and torn"); });

    EXPECT_EQ(0, init());

    EXPECT_EQ(0, info("a"));
    EXPECT_EQ(2u, lines("moved.log").size());
}

namespace
{
class LogPipe : public LogTest
{
protected:
    LogPipe()
    {
        mkfifo(dir.file("test.log").c_str(), 0600);
    }

    ~LogPipe() override
    {
        close(fReader);
    }

    void read()
    {
        fReader = open(dir.file("test.log").c_str(), O_RDONLY | O_NONBLOCK);
        ASSERT_GE(fReader, 0);
    }

    void stopReading()
    {
        close(fReader);
        fReader = -1;
    }

private:
    int fReader = -1;
};
} // namespace

TEST_F(LogPipe, WithoutAReaderDoesNotBlock)
{
    EXPECT_EQ(-ENXIO, init());

    EXPECT_EQ(-ENXIO, info("a"));
}

TEST_F(LogPipe, ReaderThatExitsDoesNotEndTheProcess)
{
    read();
    EXPECT_EQ(0, init());
    stopReading();

    EXPECT_EQ(-EPIPE, info("a"));

    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(0, sigismember(&pending, SIGPIPE));
}

TEST_F(LogPipe, FullPipeDropsLines)
{
    read();
    init();

    int result = 0;
    for (int i = 0; i < 100000 && result == 0; ++i)
    {
        result = info(filler(500));
    }

    EXPECT_EQ(-EAGAIN, result);
}
