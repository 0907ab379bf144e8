// SPDX-License-Identifier: MIT
#include "helpers/Log.h"

#include "helpers/ServiceLookup.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr std::chrono::hours kNeverAgain(1000);

class LogMacroTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, fCore.start());
        fLog = ixlaService<ILogger>();
    }

    /// The number of lines of the plugins' log that contain iText.
    int lines(const std::string& iText) const
    {
        return countLines(fCore.pluginLogFile(), iText);
    }

    CoreRun fCore;
    PBaseptr<ILogger> fLog;
};

TEST_F(LogMacroTest, WritesTheSameLineAsTheLogger)
{
    const PString wide(L"größe");
    IXLA_LOG(info, fLog, 0, "%d jobs, %s, %ls, %.1f %%", 3, "straße", wide.ptr(), 0.5);
    fLog->info(0, L"%d jobs, %s, %ls, %.1f %%", 3, "straße", wide.ptr(), 0.5);
    EXPECT_EQ(2, lines("I pgs 3 jobs, straße, größe, 0.5 %"));
}

TEST_F(LogMacroTest, WritesEachKind)
{
    IXLA_LOG(info, fLog, 0, "an info");
    IXLA_LOG(error, fLog, 0, "an error");
    IXLA_LOG(debug, fLog, 0, "a debug line");
    EXPECT_EQ(1, lines("I pgs an info"));
    EXPECT_EQ(1, lines("E pgs an error"));
    EXPECT_EQ(1, lines("D pgs a debug line"));
}

TEST_F(LogMacroTest, PassesTheLevelOn)
{
    IXLA_LOG(info, fLog, 7, "too high");
    fLog->setLevel(7);
    IXLA_LOG(info, fLog, 7, "high enough");
    EXPECT_EQ(0, lines("too high"));
    EXPECT_EQ(1, lines("high enough"));
}

TEST_F(LogMacroTest, EvaluatesEachArgumentOnce)
{
    int evaluated = 0;
    IXLA_LOG(info, fLog, 0, "number %d", ++evaluated);
    EXPECT_EQ(1, evaluated);
    EXPECT_EQ(1, lines("number 1"));
}

TEST_F(LogMacroTest, TakesABorrowedLogger)
{
    IXLA_LOG(info, fLog.get(), 0, "borrowed");
    EXPECT_EQ(1, lines("borrowed"));
}

TEST_F(LogMacroTest, AnEmptyLoggerWritesNothing)
{
    PBaseptr<ILogger> none;
    IXLA_LOG(error, none, 0, "nowhere");
    IXLA_LOG_ONCE(error, none, 0, "nowhere");
    IXLA_LOG_EVERY(kNeverAgain, error, none, 0, "nowhere");
    EXPECT_EQ(0, lines("nowhere"));
}

TEST_F(LogMacroTest, IsOneStatement)
{
    if (lines("never") > 0)
        IXLA_LOG(info, fLog, 0, "then");
    else
        IXLA_LOG(info, fLog, 0, "otherwise");
    EXPECT_EQ(0, lines("then"));
    EXPECT_EQ(1, lines("otherwise"));
}

TEST_F(LogMacroTest, OnceWritesTheFirstLineOfItsPlace)
{
    PBaseptr<ILogger> none;
    const PBaseptr<ILogger>* const logs[] = {&none, &fLog, &fLog};
    int evaluated = 0;
    for (const PBaseptr<ILogger>* log : logs)
    {
        IXLA_LOG_ONCE(info, *log, 0, "once %d", ++evaluated);
    }
    IXLA_LOG_ONCE(info, fLog, 0, "another place");
    EXPECT_EQ(1, evaluated);
    EXPECT_EQ(1, lines("once 1"));
    EXPECT_EQ(1, lines("another place"));
}

TEST_F(LogMacroTest, OnceIsOnceForAllThreads)
{
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i)
    {
        threads.emplace_back([this] { IXLA_LOG_ONCE(info, fLog, 0, "from one thread"); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(1, lines("from one thread"));
}

TEST_F(LogMacroTest, EveryWritesOneLineInAnInterval)
{
    int evaluated = 0;
    for (int i = 0; i < 3; ++i)
    {
        IXLA_LOG_EVERY(kNeverAgain, error, fLog, 0, "full, %d jobs", ++evaluated);
    }
    EXPECT_EQ(1, evaluated);
    EXPECT_EQ(1, lines("E pgs full, 1 jobs"));
    EXPECT_EQ(0, lines("Suppressed"));
}

TEST_F(LogMacroTest, EveryReportsTheNumberOfSuppressedLines)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    int calls = 0;
    while (lines("E pgs Suppressed lines: ") == 0 && std::chrono::steady_clock::now() < limit)
    {
        for (const int last = calls + 1000; calls < last; ++calls)
        {
            IXLA_LOG_EVERY(std::chrono::milliseconds(20), error, fLog, 0, "full, %d jobs", calls);
        }
    }
    EXPECT_LE(1, lines(" of \"full, %d jobs\""));
    EXPECT_GT(calls, lines("E pgs full, "));
}
} // namespace
