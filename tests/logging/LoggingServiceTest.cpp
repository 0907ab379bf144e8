// SPDX-License-Identifier: MIT
#include "ILogger.h"
#include "support/CoreRun.h"
#include "support/Texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

using testing::ElementsAre;
using testing::HasSubstr;

namespace
{
class LoggingService : public testing::Test
{
protected:
    void start()
    {
        core.writeManagerConfig("");
        ASSERT_EQ(0, core.start());
    }

    PBaseptr<ILogger> get(const std::string& iName)
    {
        PBaseptr<ILogger> logger;
        EXPECT_EQ(0, core.get<ILogger>(kIxlaLoggerId)->getLogger(wide(iName), logger));
        return logger;
    }

    CoreRun core;
};
} // namespace

TEST_F(LoggingService, WritesTheSharedLogOfThePlugins)
{
    start();

    core.get<ILogger>(kIxlaLoggerId)->info(0, L"from the test");

    EXPECT_EQ(1, countLines(core.pluginLogFile(), " I pgs from the test"));
}

TEST_F(LoggingService, WritesNamedLogsInTheSameDirectory)
{
    start();

    get("named.log")->error(0, L"from the test");

    EXPECT_THAT(readLines(core.pluginLogFile("named.log")),
                ElementsAre(HasSubstr(" E pgs from the test")));
}

TEST_F(LoggingService, TakesItsSettingsFromTheCoreConfiguration)
{
    core.set("core.plugins.log.level", "2");
    core.set("core.plugins.log.maxsize", "1");
    core.set("core.plugins.log.parts", "1");
    start();
    const PBaseptr<ILogger> logger = get("named.log");

    logger->info(2, L"first");
    logger->info(2, L"second");
    logger->info(3, L"hidden");

    EXPECT_EQ(1, countLines(core.pluginLogFile("named.log.1"), "first"));
    EXPECT_EQ(1, countLines(core.pluginLogFile("named.log"), "second"));
    EXPECT_EQ(0, countLines(core.pluginLogFile("named.log"), "hidden"));
}

TEST_F(LoggingService, DisabledInTheCoreConfigurationWritesNothing)
{
    core.set("core.plugins.log.enable", "false");
    start();

    EXPECT_FALSE(get("named.log"));
    core.get<ILogger>(kIxlaLoggerId)->error(0, L"from the test");

    EXPECT_TRUE(std::filesystem::is_empty(core.dir.file("log")));
}

TEST_F(LoggingService, NegativeLevelOfTheCoreConfigurationCountsAsZero)
{
    core.set("core.plugins.log.level", "-5");
    start();

    get("named.log")->info(0, L"zero");

    EXPECT_EQ(1, countLines(core.pluginLogFile("named.log"), "zero"));
}

TEST_F(LoggingService, LoggersOutliveTheCore)
{
    start();
    const PBaseptr<ILogger> logger = get("named.log");
    ASSERT_EQ(0, core.stop());
    PBaseptr<ILogger> other;

    EXPECT_EQ(0, logger->info(0, L"after the stop"));
    EXPECT_EQ(eIxlaNoInstance, logger->getLogger(L"other.log", other));

    EXPECT_EQ(1, countLines(core.pluginLogFile("named.log"), "after the stop"));
    EXPECT_FALSE(other);
}
