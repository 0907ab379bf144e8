// SPDX-License-Identifier: MIT
#include "logging/LoggingTest.h"
#include "support/AllocationFaults.h"
#include "support/PortFaults.h"

#include <cerrno>

namespace
{
class LoggerFailure : public LoggingTest
{
protected:
    ~LoggerFailure() override
    {
        PortFaults::reset();
    }
};
} // namespace

TEST_F(LoggerFailure, FailedLockIsReported)
{
    plugin->init();
    PBaseptr<ILogger> logger;
    PortFaults::mutexLock.arm(-77);

    EXPECT_EQ(-77, plugin->getLogger(L"a", logger));

    EXPECT_FALSE(logger);
    EXPECT_FALSE(isOpen("a"));
}

TEST_F(LoggerFailure, FailedUnlockIsReportedWithTheLoggerFilled)
{
    plugin->init();
    PBaseptr<ILogger> logger;
    PortFaults::mutexUnlock.arm(-78, 0, 1);

    EXPECT_EQ(-78, plugin->getLogger(L"a", logger));

    EXPECT_TRUE(logger);
}

TEST_F(LoggerFailure, DisabledLoggingTakesNoLock)
{
    FakeConfig::values["core.plugins.log.enable"] = "false";
    plugin->init();
    PBaseptr<ILogger> logger;
    PortFaults::mutexLock.arm(-77);

    EXPECT_EQ(0, plugin->getLogger(L"a", logger));
    EXPECT_EQ(0, defaultLogger()->getLogger(L"a", logger));
}

TEST_F(LoggerFailure, MutexThatCannotBeOpenedIsReportedByGetLogger)
{
    PortFaults::mutexInit.arm(-ENOMEM, 0, 1);
    PBaseptr<PLoggerPlugin> other = PBaseptr<PLoggerPlugin>::adopt(new PLoggerPlugin);
    EXPECT_EQ(0, other->init());
    PBaseptr<ILogger> logger;

    EXPECT_EQ(-EINVAL, other->getLogger(L"a", logger));
}

TEST_F(LoggerFailure, CachedLoggerNeedsNoMemory)
{
    plugin->init();
    PBaseptr<ILogger> logger = get("a");
    AllocationFaults::startCounting();

    EXPECT_EQ(0, plugin->getLogger(L"a", logger));

    EXPECT_EQ(0, AllocationFaults::counted());
}
