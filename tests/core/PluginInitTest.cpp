// SPDX-License-Identifier: MIT
#include "core/PPluginInit.h"

#include "core/PCoreLog.h"
#include "core/PPluginRegistry.h"
#include "core/UnitPlugin.h"
#include "support/PortFaults.h"
#include "support/SleepingThread.h"

#include <gtest/gtest.h>

#include <future>
#include <unistd.h>

namespace
{
class PluginInit : public testing::Test
{
protected:
    PluginInit() : fPlugin(new UnitPlugin), fRecord(fPlugin->record())
    {
        EXPECT_EQ(0, fLock.init(nullptr));
        answer([] { return 0; });
    }

    ~PluginInit() override
    {
        PortFaults::reset();
    }

    void answer(const std::function<int()>& iInit)
    {
        fPlugin->onInit = [this, iInit]
        {
            ++fCalls;
            return iInit();
        };
    }

    int init()
    {
        return fInit.initPlugin(*fRecord);
    }

    int fCalls = 0;
    UnitPlugin* const fPlugin;
    const std::unique_ptr<PCorePlugin> fRecord;
    PCoreLog fLog;
    PCoreLock fLock;
    PPluginRegistry fRegistry{fLog, fLock};
    PPluginInit fInit{fLog, fLock, fRegistry};
};

TEST_F(PluginInit, CallsInitOnce)
{
    EXPECT_EQ(0, init());
    EXPECT_EQ(0, init());
    EXPECT_EQ(1, fCalls);
}

TEST_F(PluginInit, FailureIsFinalAndHidesThePluginsCode)
{
    answer([] { return -42; });
    EXPECT_EQ(-42, init());
    EXPECT_EQ(-2003, init());
    EXPECT_EQ(1, fCalls);
}

TEST_F(PluginInit, ExceptionOfThePluginCountsAsFailure)
{
    answer([]() -> int { throw 1; });
    EXPECT_EQ(-2003, init());
    EXPECT_EQ(PCorePlugin::eInitFailed, fRecord->fInitState);
}

TEST_F(PluginInit, LoopOnOneThreadIsDetected)
{
    int inner = 0;
    answer(
        [&]
        {
            inner = init();
            return 0;
        });
    EXPECT_EQ(0, init());
    EXPECT_EQ(-2004, inner);
}

TEST_F(PluginInit, OtherThreadWaitsForTheEnd)
{
    std::promise<pid_t> waiting;
    std::future<int> other;
    answer(
        [&]
        {
            other = std::async(std::launch::async,
                               [&]
                               {
                                   waiting.set_value(gettid());
                                   return init();
                               });
            EXPECT_TRUE(waitUntilAsleep(waiting.get_future().get()));
            return 0;
        });
    EXPECT_EQ(0, init());
    EXPECT_EQ(0, other.get());
    EXPECT_EQ(1, fCalls);
}

TEST_F(PluginInit, UnloadedPluginIsNotInitialised)
{
    fRecord->fUnloaded = true;
    EXPECT_EQ(-1016, init());
    EXPECT_EQ(0, fCalls);
}

TEST_F(PluginInit, UnloadDuringInitIsReportedAfterwards)
{
    answer(
        [this]
        {
            fRecord->fUnloaded = true;
            return 0;
        });
    EXPECT_EQ(0, init());
    EXPECT_EQ(-1016, init());
}

TEST_F(PluginInit, InitialisedPluginNeedsNoLock)
{
    EXPECT_EQ(0, init());
    PortFaults::mutexLock.arm(-22);
    EXPECT_EQ(0, init());
}

TEST_F(PluginInit, FailingLockIsReported)
{
    PortFaults::mutexLock.arm(-22);
    EXPECT_EQ(-1013, init());
    EXPECT_EQ(0, fCalls);
}

TEST_F(PluginInit, FailingUnlockLeavesTheStateAtInitialising)
{
    PortFaults::mutexUnlock.arm(-22, 0, 1);
    EXPECT_EQ(-1014, init());
    EXPECT_EQ(PCorePlugin::eInitialising, fRecord->fInitState);
    EXPECT_EQ(0, fLock.fMutex.unlock());
}
} // namespace
