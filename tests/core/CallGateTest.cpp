// SPDX-License-Identifier: MIT
#include "core/PCallGate.h"

#include "support/PortFaults.h"
#include "support/SingleSteps.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace
{
constexpr unsigned int kLong = 60000;

class CallGate : public testing::Test
{
protected:
    CallGate()
    {
        fGate.open();
    }

    ~CallGate() override
    {
        PortFaults::reset();
    }

    /// Whether another thread can enter; it leaves again.
    bool admitsOthers()
    {
        return std::async(std::launch::async,
                          [this]
                          {
                              const bool inside = fGate.enter();
                              if (inside)
                              {
                                  fGate.leave();
                              }
                              return inside;
                          })
            .get();
    }

    PCallGate fGate;
};

TEST(NewCallGate, IsClosed)
{
    PCallGate gate;
    EXPECT_FALSE(gate.enter());
}

TEST_F(CallGate, AdmitsUntilItIsClosed)
{
    EXPECT_TRUE(admitsOthers());
    EXPECT_EQ(0u, fGate.close(kLong));
    EXPECT_FALSE(admitsOthers());
    fGate.open();
    EXPECT_TRUE(admitsOthers());
}

TEST_F(CallGate, AdmitsTheThreadThatClosedIt)
{
    ASSERT_EQ(0u, fGate.close(kLong));
    EXPECT_TRUE(fGate.enter());
    fGate.leave();
    EXPECT_EQ(0u, fGate.close(kLong));
}

TEST_F(CallGate, ReportsTheNumberOfCallsThatStay)
{
    ASSERT_TRUE(fGate.enter());
    ASSERT_TRUE(fGate.enter());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(2u, fGate.close(50));
    EXPECT_LE(std::chrono::milliseconds(50), std::chrono::steady_clock::now() - begin);
    fGate.leave();
    fGate.leave();
    EXPECT_EQ(0u, fGate.close(kLong));
}

TEST_F(CallGate, ClosingWaitsForCallsInside)
{
    std::atomic<bool> left{false};
    std::promise<void> inside;
    std::thread caller(
        [&]
        {
            ASSERT_TRUE(fGate.enter());
            inside.set_value();
            while (fGate.enter())
            {
                fGate.leave();
            }
            left = true;
            fGate.leave();
        });
    inside.get_future().wait();
    EXPECT_EQ(0u, fGate.close(kLong));
    EXPECT_TRUE(left);
    caller.join();
}

TEST_F(CallGate, RefusedCallersDoNotHoldIt)
{
    std::atomic<bool> end{false};
    std::vector<std::thread> callers;
    callers.reserve(4);
    for (int i = 0; i < 4; ++i)
    {
        callers.emplace_back(
            [&]
            {
                while (!end)
                {
                    if (fGate.enter())
                    {
                        fGate.leave();
                    }
                }
            });
    }
    for (int round = 0; round < 100; ++round)
    {
        ASSERT_EQ(0u, fGate.close(kLong));
        fGate.open();
    }
    end = true;
    for (std::thread& caller : callers)
    {
        caller.join();
    }
}

TEST_F(CallGate, FailedWaitReportsCallsInside)
{
    ASSERT_TRUE(fGate.enter());
    PortFaults::condVarWait.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(1u, fGate.close(kLong));
    PortFaults::mutexLock.armOnThisThread(-22, 0, 1);
    EXPECT_EQ(1u, fGate.close(kLong));
    fGate.leave();
}

TEST_F(CallGate, WaitWithoutNotificationChecksAgain)
{
    ASSERT_TRUE(fGate.enter());
    PortFaults::condVarNotifyAll.arm(-22);
    std::thread caller(
        [this]
        {
            while (fGate.enter())
            {
                fGate.leave();
            }
            fGate.leave();
        });
    EXPECT_EQ(0u, fGate.close(100));
    caller.join();
}
TEST_F(CallGate, ClosingAtAnyInstructionOfACallRefusesOrCountsIt)
{
    if (!SingleSteps::arePossible())
    {
        GTEST_SKIP() << "this build cannot be run instruction by instruction";
    }
    bool reached = true;
    for (unsigned int step = 1; reached; ++step)
    {
        PCallGate gate;
        gate.open();
        unsigned int inside = 0;
        bool entered = false;
        reached = SingleSteps::run([&] { entered = gate.enter(); }, step,
                                   [&] { inside = gate.close(0); });
        EXPECT_LE(entered && reached ? 1u : 0u, inside) << "closed before instruction " << step;
        EXPECT_TRUE(entered || reached);
    }
}
} // namespace
