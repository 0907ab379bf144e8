// SPDX-License-Identifier: MIT
#include "core/PExitNotice.h"

#include "core/PCore.h"
#include "support/CoreRun.h"
#include "support/PortFaults.h"
#include "support/SleepingThread.h"

#include <gtest/gtest.h>

#include <thread>
#include <unistd.h>

namespace
{
TEST(ExitNotice, CoreStaysUntilTheNotifierSends)
{
    PExitNotice notice;
    EXPECT_FALSE(notice.abandon());
    notice.sending();
    EXPECT_TRUE(notice.abandon());
    EXPECT_TRUE(notice.isAbandoned());
}

TEST(ExitNotice, AbandonedNotifierIsInformedOnItsReturn)
{
    PExitNotice notice;
    notice.sending();
    ASSERT_TRUE(notice.abandon());
    EXPECT_FALSE(notice.beginReport());
}

TEST(ExitNotice, CoreStaysWhileTheNotifierReports)
{
    PExitNotice notice;
    notice.sending();
    ASSERT_TRUE(notice.beginReport());
    EXPECT_FALSE(notice.abandon());
    notice.done();
    EXPECT_TRUE(notice.abandon());
    EXPECT_FALSE(notice.isAbandoned());
}

TEST(ExitNotice, AwaitWakesUpWhenTheNotifierIsDone)
{
    const pid_t core = gettid();
    PExitNotice notice;
    notice.sending();
    ASSERT_TRUE(notice.beginReport());
    std::thread notifier(
        [&]
        {
            EXPECT_TRUE(waitUntilAsleep(core));
            notice.done();
        });
    notice.abandonOrAwait();
    EXPECT_FALSE(notice.isAbandoned());
    notifier.join();
}

class ExitReport : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, fCore.start());
    }

    ~ExitReport() override
    {
        PortFaults::reset();
    }

    CoreRun fCore;
};

TEST_F(ExitReport, SucceedsOnItsOwn)
{
    EXPECT_EQ(0, PCore::getCore()->notifyCoreExit());
    EXPECT_EQ(1, fCore.logCount("D Core [notifyCoreExit] Done."));
}

TEST_F(ExitReport, FailingLockIsReported)
{
    PortFaults::mutexLock.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-1013, PCore::getCore()->notifyCoreExit());
}

TEST_F(ExitReport, FailingSignalIsReportedWithTheMutexHeld)
{
    PortFaults::condVarNotifyAll.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-1015, PCore::getCore()->notifyCoreExit());
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(1, fCore.logCount("E Core [~PCore] Failed to close mutex lock err: -16"));
}

TEST_F(ExitReport, FailingUnlockIsReported)
{
    PortFaults::mutexUnlock.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(-1014, PCore::getCore()->notifyCoreExit());
}
} // namespace
