// SPDX-License-Identifier: MIT
#include "IConfigManager.h"
#include "PBaseptr.h"
#include "support/CoreRun.h"
#include "support/PortFaults.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace
{
/// A service that looks up another one, whose plugin is not initialised, while the core stops. The
/// stop ends exactly between the successful lookup and the next step.
class HeldService : public testing::Test
{
protected:
    HeldService()
    {
        fCore.writeManagerConfig("id = id.prs");
        fCore.writeConfig("id.prs", "key = value");
        EXPECT_EQ(0, fCore.start());
        fManager = fCore.get<IConfigManager>(kIxlaConfigManagerId);
    }

    ~HeldService() override
    {
        PortFaults::reset();
    }

    static void awaitClosedGate()
    {
        IBase* instance = nullptr;
        while (ixlaGetInstance(kIxlaConfigManagerId, instance) != eIxlaCoreNotStarted)
        {
            std::this_thread::yield();
        }
    }

    /// Runs iWork, which takes the manager's lock and then looks up a service, during a stop.
    int besideTheStop(const std::function<int()>& iWork)
    {
        std::future<int> pending = std::async(std::launch::async,
                                              [&]
                                              {
                                                  holdLookup();
                                                  return iWork();
                                              });
        fInside.get_future().wait();
        EXPECT_EQ(0, fCore.stop());
        fStopped.set_value();
        return pending.get();
    }

    CoreRun fCore;
    PBaseptr<IConfigManager> fManager;

private:
    /// Blocks the lookup of this thread twice: inside the core until the stop waits for it, and
    /// after it has left the core until the stop has ended.
    void holdLookup()
    {
        PortFaults::beforeLock = [this, locks = 0]() mutable
        {
            if (++locks == kCoreLock)
            {
                fInside.set_value();
                awaitClosedGate();
                PortFaults::afterUnlock = [this, unlocks = 0]() mutable
                {
                    if (++unlocks == kGateUnlock)
                    {
                        fStopped.get_future().wait();
                    }
                };
            }
        };
    }

    static constexpr int kCoreLock = 2;   ///< the first lock of the work is the manager's
    static constexpr int kGateUnlock = 2; ///< after that of the core

    std::promise<void> fInside;
    std::promise<void> fStopped;
};

TEST_F(HeldService, OnlyTheFirstLoadRequestsTheLogger)
{
    PBaseptr<IConfig> config;
    EXPECT_EQ(0, fManager->loadByID(L"id", config));
    const std::string line = "Get instance for interface ID: com.kelvora.ixla.logger";
    const int asked = fCore.logCount(line);
    EXPECT_EQ(0, fManager->loadByID(L"id", config));
    EXPECT_LT(0, asked);
    EXPECT_EQ(asked, fCore.logCount(line));
}

TEST_F(HeldService, LoadLogsThroughAHeldLogger)
{
    PBaseptr<IConfig> config;
    EXPECT_EQ(0, besideTheStop([&] { return fManager->loadByID(L"id", config); }));
    EXPECT_TRUE(config);
    EXPECT_EQ(0, fCore.logCount("Calls that do not leave the core"));
}
} // namespace
