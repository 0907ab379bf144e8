// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"
#include "support/FileFaults.h"
#include "support/UnreadStream.h"

#include <cerrno>
#include <chrono>
#include <future>

#include <fcntl.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{
/// A logger that echoes to a stream of each kind.
class LogToUnread : public LogTest, public testing::WithParamInterface<UnreadStream::EKind>
{
protected:
    void SetUp() override
    {
        if (!stream.missing().empty())
        {
            GTEST_SKIP() << stream.missing();
        }
        init();
        logger->setPrintOnConsole(true);
    }

    /// Logs a line; -1 if that takes so long that the stream must have blocked it.
    int infoSoon(const std::string& iText)
    {
        auto line = std::async(std::launch::async, [&] { return info(iText); });
        const bool isSoon = line.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
        stream.readAll();
        return isSoon ? line.get() : -1;
    }

    UnreadStream stream{GetParam()};
};
} // namespace

TEST_P(LogToUnread, LineThatWouldBlockIsWrittenToTheFileOnly)
{
    stream.fill();

    EXPECT_EQ(0, infoSoon("a"));

    EXPECT_THAT(texts(), ElementsAre("a"));
}

TEST_P(LogToUnread, DroppedLinesAreReportedWhenTheStreamIsReadAgain)
{
    stream.fill();
    info("dropped");
    info("dropped too");
    stream.readAll();

    info("a");

    const std::string shown = stream.readAll();
    EXPECT_THAT(shown, HasSubstr(" E tag [PLogger] Lost echo lines: 2 err: -11\n"));
    EXPECT_THAT(shown, EndsWith(" I tag a\n"));
    EXPECT_THAT(shown, Not(HasSubstr("dropped")));
    EXPECT_THAT(texts(), ElementsAre("dropped", "dropped too", "a"));
}

TEST_P(LogToUnread, DroppedLinesAreReportedOnce)
{
    stream.fill();
    info("dropped");
    stream.readAll();
    info("a");
    stream.readAll();

    info("b");

    EXPECT_THAT(stream.readAll(), Not(HasSubstr("Lost")));
}

TEST_P(LogToUnread, PartialLineIsTerminated)
{
    info(filler(1000000));
    EXPECT_THAT(stream.readAll(), EndsWith("xxx"));

    info("a");

    EXPECT_THAT(stream.readAll(), StartsWith("\n"));
}

TEST_P(LogToUnread, ModeOfTheStreamIsNotChanged)
{
    const int before = fcntl(STDERR_FILENO, F_GETFL);

    info("a");

    EXPECT_EQ(before, fcntl(STDERR_FILENO, F_GETFL));
    EXPECT_EQ(0, before & O_NONBLOCK);
}

TEST_P(LogToUnread, LineNeverBlocksWhenTheStreamCannotBeReopened)
{
    stream.fill();
    FileFaults::open.arm(EACCES, -1);
    EXPECT_EQ(0, infoSoon("dropped"));

    EXPECT_EQ(0, infoSoon("a"));
    FileFaults::disarm();

    info("b");
    const std::string shown = stream.readAll();
    EXPECT_THAT(shown, EndsWith(" I tag b\n"));
    EXPECT_THAT(texts(), ElementsAre("dropped", "a", "b"));
}

TEST_P(LogToUnread, LineIsCompleteWhenTheStreamCannotBeReopened)
{
    FileFaults::open.arm(EACCES, -1);

    info(filler(1000));
    FileFaults::disarm();

    EXPECT_THAT(stream.readAll(), EndsWith(filler(1000) + "\n"));
}

TEST_P(LogToUnread, MessageBoxNeverBlocks)
{
    stream.fill();
    logger->setPrintOnConsole(false);
    auto box = std::async(std::launch::async, [&] { return showMessage(*logger, L"look"); });

    const bool isSoon = box.wait_for(std::chrono::seconds(10)) == std::future_status::ready;

    stream.readAll();
    EXPECT_TRUE(isSoon);
    EXPECT_EQ(0, box.get());
}

TEST_P(LogToUnread, UnreportedDroppedLinesAreReportedInTheFileAtTheEnd)
{
    stream.fill();
    info("a");

    logger.reset();

    EXPECT_THAT(texts(), ElementsAre("a", "[PLogger] Lost echo lines: 1 err: -11"));
}

INSTANTIATE_TEST_SUITE_P(Streams, LogToUnread,
                         testing::Values(UnreadStream::ePipe, UnreadStream::eSocket,
                                         UnreadStream::eTerminal),
                         [](const auto& iInfo) { return UnreadStream::name(iInfo.param); });

namespace
{
class LogToClosed : public LogTest
{
};
} // namespace

TEST_F(LogToClosed, StreamCountsItsLinesAsLost)
{
    init();
    logger->setPrintOnConsole(true);
    const int kept = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10);
    close(STDERR_FILENO);

    EXPECT_EQ(0, info("a"));

    dup2(kept, STDERR_FILENO);
    close(kept);
    logger.reset();
    EXPECT_THAT(texts(), ElementsAre("a", "[PLogger] Lost echo lines: 1 err: -9"));
}

TEST_F(LogToClosed, StreamThatMayOnlyBeReadGetsNoLine)
{
    init();
    logger->setPrintOnConsole(true);
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
    const int kept = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10);
    dup2(ends[0], STDERR_FILENO);

    EXPECT_EQ(0, info("a"));

    dup2(kept, STDERR_FILENO);
    close(kept);
    char byte;
    EXPECT_EQ(-1, read(ends[0], &byte, 1));
    close(ends[0]);
    close(ends[1]);
    logger.reset();
    EXPECT_THAT(texts(), ElementsAre("a", "[PLogger] Lost echo lines: 1 err: -9"));
}
