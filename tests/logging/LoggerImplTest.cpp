// SPDX-License-Identifier: MIT
#include "Ixla.h"
#include "logging/LoggingTest.h"
#include "logging/PLoggerImpl.h"
#include "support/AllocationFaults.h"

#include <filesystem>

using testing::ElementsAre;
using testing::HasSubstr;

namespace
{
class LoggerImpl : public LoggingTest
{
protected:
    PBaseptr<ILogger> make(bool iEnable = true)
    {
        return PBaseptr<ILogger>::adopt(
            new PLoggerImpl(dir.wideFile("own.log"), L"pgs", 0, 0, 0, iEnable, nullptr));
    }

    /// A logger whose PLogger could not be allocated.
    PBaseptr<ILogger> makeWithoutLog()
    {
        const PString file = dir.wideFile("own.log");
        AllocationFaults::failOnceAfter(1);
        PLoggerImpl* const logger = new PLoggerImpl(file, L"pgs", 0, 0, 0, true, nullptr);
        AllocationFaults::disarm();
        EXPECT_TRUE(AllocationFaults::struck());
        return PBaseptr<ILogger>::adopt(logger);
    }
};
} // namespace

TEST_F(LoggerImpl, MessagesReachTheFileWithTheirKinds)
{
    const PBaseptr<ILogger> logger = make();

    EXPECT_EQ(0, logger->info(0, L"a %d", 1));
    EXPECT_EQ(0, logger->error(0, L"b %ls", L"two"));
    EXPECT_EQ(0, logger->debug(0, L"c %s", "three"));

    EXPECT_THAT(readLines(dir.file("own.log")),
                ElementsAre(HasSubstr(" I pgs a 1"), HasSubstr(" E pgs b two"),
                            HasSubstr(" D pgs c three")));
}

TEST_F(LoggerImpl, FirstArgumentIsTheLevel)
{
    const PBaseptr<ILogger> logger = make();
    EXPECT_EQ(0, logger->setLevel(1));

    logger->info(1, L"one");
    logger->info(2, L"two");
    logger->error(1000, L"error");

    EXPECT_THAT(texts("own.log"), ElementsAre("one", "error"));
}

TEST_F(LoggerImpl, ConsoleEchoFollowsTheSwitch)
{
    const PBaseptr<ILogger> logger = make();
    testing::internal::CaptureStderr();

    EXPECT_EQ(0, logger->setPrintOnConsole(true));
    logger->info(0, L"a");

    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(" I pgs a\n"));
}

TEST_F(LoggerImpl, MessageBoxIsLoggedAndPrinted)
{
    const PBaseptr<ILogger> logger = make();
    testing::internal::CaptureStderr();

    EXPECT_EQ(0, logger->showMsgBox(0, L"look %d", 1));

    EXPECT_EQ("look 1\n", testing::internal::GetCapturedStderr());
    EXPECT_THAT(texts("own.log"), ElementsAre("look 1"));
}

TEST_F(LoggerImpl, DumpsBytes)
{
    const PBaseptr<ILogger> logger = make();

    EXPECT_EQ(0, logger->dumpHex(0, "abc", 3, 2));

    EXPECT_THAT(texts("own.log"), ElementsAre("00000000  61 62  |ab|", "00000002  63     |c|"));
}

TEST_F(LoggerImpl, DumpOfNothingWritesNothing)
{
    const PBaseptr<ILogger> logger = make();

    EXPECT_EQ(0, logger->dumpHex(0, "abc", 0, 16));

    EXPECT_THAT(texts("own.log"), ElementsAre());
}

TEST_F(LoggerImpl, DumpOfANegativeSizeIsRefused)
{
    const PBaseptr<ILogger> logger = make();

    EXPECT_EQ(eIxlaInvalidArgument, logger->dumpHex(0, "abc", -1, 16));

    EXPECT_THAT(texts("own.log"), ElementsAre());
}

TEST_F(LoggerImpl, DisabledLoggerLeavesNoFile)
{
    const PBaseptr<ILogger> logger = make(false);

    EXPECT_EQ(0, logger->error(0, L"a"));

    EXPECT_FALSE(std::filesystem::exists(dir.file("own.log")));
}

TEST_F(LoggerImpl, LastReferenceClosesTheFile)
{
    PBaseptr<ILogger> logger = make();
    PBaseptr<ILogger> other(logger.get());

    logger.clear();
    EXPECT_TRUE(isOpen("own.log"));

    other.clear();
    EXPECT_FALSE(isOpen("own.log"));
}

TEST_F(LoggerImpl, ReferencesAreCounted)
{
    const PBaseptr<ILogger> logger = make();

    EXPECT_EQ(2, logger->incRef());
    EXPECT_EQ(1, logger->decRef());
}

TEST_F(LoggerImpl, WithoutMemoryForItsLogItTakesMessages)
{
    const PBaseptr<ILogger> logger = makeWithoutLog();

    EXPECT_EQ(0, logger->info(0, L"a"));
    EXPECT_EQ(0, logger->error(0, L"a"));
    EXPECT_EQ(0, logger->debug(0, L"a"));
    EXPECT_EQ(0, logger->showMsgBox(0, L"a"));
    EXPECT_EQ(0, logger->dumpHex(0, "a", 1, 16));
    EXPECT_FALSE(std::filesystem::exists(dir.file("own.log")));
}

TEST_F(LoggerImpl, WithoutMemoryForItsLogItHasNoSettings)
{
    const PBaseptr<ILogger> logger = makeWithoutLog();

    EXPECT_EQ(eIxlaNoMemory, logger->setLevel(1));
    EXPECT_EQ(eIxlaNoMemory, logger->setPrintOnConsole(true));
}

TEST_F(LoggerImpl, WithoutAPluginItReturnsNoLoggers)
{
    const PBaseptr<ILogger> logger = make();
    PBaseptr<ILogger> other;

    EXPECT_EQ(eIxlaNoInstance, logger->getLogger(L"other", other));

    EXPECT_FALSE(other);
}

TEST_F(LoggerImpl, MessagesAllocateNothing)
{
    const PBaseptr<ILogger> logger = make();
    logger->info(0, L"warm up");
    AllocationFaults::startCounting();

    logger->info(0, L"a %d", 1);
    logger->debug(1, L"filtered %d", 1);

    EXPECT_EQ(0, AllocationFaults::counted());
}
