// SPDX-License-Identifier: MIT
#include "helpers/PSubscription.h"

#include "support/AllocationFaults.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr wchar_t kTopic[] = L"test.topic";

class SubscriptionTest : public testing::Test
{
protected:
    SubscriptionTest()
    {
        EXPECT_EQ(0, fCore.start());
    }

    int subscribe(PSubscription& ioSubscription, const wchar_t* iTopic = kTopic)
    {
        return ioSubscription.subscribe(iTopic,
                                        [this](const PLiteral&, IBase*, int) { ++fEvents; });
    }

    static int send(const wchar_t* iTopic = kTopic)
    {
        return ixlaService<IEventDispatcher>()->send(iTopic, nullptr, 0);
    }

    /// Sends on another thread; returns when the callable of the topic is running.
    std::future<int> sendAndHold()
    {
        std::future<int> sent = std::async(std::launch::async, [] { return send(); });
        fEntered.get_future().wait();
        return sent;
    }

    /// Subscribes a callable that runs until fLeave is set.
    int subscribeHeld(PSubscription& ioSubscription)
    {
        return ioSubscription.subscribe(kTopic,
                                        [this](const PLiteral&, IBase*, int)
                                        {
                                            fEntered.set_value();
                                            fLeave.get_future().wait();
                                            ++fEvents;
                                        });
    }

    CoreRun fCore;
    std::atomic<int> fEvents{0};
    std::promise<void> fEntered;
    std::promise<void> fLeave;
};

TEST_F(SubscriptionTest, DeliversUntilItsScopeEnds)
{
    {
        PSubscription subscription;
        EXPECT_FALSE(subscription);
        EXPECT_EQ(0, subscribe(subscription));
        EXPECT_TRUE(subscription);
        EXPECT_EQ(0, send());
    }
    EXPECT_EQ(eIxlaNoListener, send());
    EXPECT_EQ(1, fEvents);
}

TEST_F(SubscriptionTest, EndIsFinal)
{
    PSubscription subscription;
    EXPECT_EQ(0, subscription.end());
    EXPECT_EQ(0, subscribe(subscription));
    EXPECT_EQ(0, subscription.end());
    EXPECT_FALSE(subscription);
    EXPECT_EQ(0, subscription.end());
    EXPECT_EQ(eIxlaNoListener, send());
}

TEST_F(SubscriptionTest, MovesWithoutMissingAnEvent)
{
    PSubscription target;
    {
        PSubscription source;
        EXPECT_EQ(0, subscribe(source));
        PSubscription between(std::move(source));
        target = std::move(between);
    }
    EXPECT_EQ(0, send());
    EXPECT_EQ(1, fEvents);
}

TEST_F(SubscriptionTest, AssignmentEndsTheFormerSubscription)
{
    PSubscription target;
    EXPECT_EQ(0, subscribe(target));
    target = PSubscription();
    EXPECT_EQ(eIxlaNoListener, send());
    EXPECT_FALSE(target);
}

TEST_F(SubscriptionTest, SelfAssignmentKeepsIt)
{
    PSubscription subscription;
    EXPECT_EQ(0, subscribe(subscription));
    PSubscription& same = subscription;
    subscription = std::move(same);
    EXPECT_EQ(0, send());
}

TEST_F(SubscriptionTest, SubscribingAgainEndsTheFormerSubscription)
{
    PSubscription subscription;
    EXPECT_EQ(0, subscribe(subscription));
    EXPECT_EQ(0, subscribe(subscription, L"test.other"));
    EXPECT_EQ(eIxlaNoListener, send());
    EXPECT_EQ(0, send(L"test.other"));
}

TEST_F(SubscriptionTest, RefusesWhatTheDispatcherRefuses)
{
    PSubscription subscription;
    EXPECT_EQ(eIxlaInvalidArgument, subscribe(subscription, L""));
    EXPECT_FALSE(subscription);
    EXPECT_EQ(eIxlaInvalidArgument, subscription.subscribe(PBaseptr<IEventDispatcher>(), kTopic,
                                                           [](const PLiteral&, IBase*, int) {}));
}

TEST_F(SubscriptionTest, RequiresACore)
{
    EXPECT_EQ(0, fCore.stop());
    PSubscription subscription;
    EXPECT_EQ(eIxlaCoreNotStarted, subscribe(subscription));
}

TEST_F(SubscriptionTest, HoldsTheDispatcherBeyondTheStop)
{
    PSubscription subscription;
    EXPECT_EQ(0, subscribe(subscription));
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(0, subscription.end());
}

TEST_F(SubscriptionTest, EndWaitsForADeliveryOnAnotherThread)
{
    PSubscription subscription;
    ASSERT_EQ(0, subscribeHeld(subscription));
    std::future<int> sent = sendAndHold();
    std::future<int> seen = std::async(std::launch::async,
                                       [&]
                                       {
                                           subscription.end();
                                           return fEvents.load();
                                       });
    EXPECT_EQ(std::future_status::timeout, seen.wait_for(std::chrono::milliseconds(50)));
    fLeave.set_value();
    EXPECT_EQ(1, seen.get());
    EXPECT_EQ(0, sent.get());
}

TEST_F(SubscriptionTest, EndInAForkedChildDoesNotWait)
{
    PSubscription subscription;
    EXPECT_EQ(0, subscribeHeld(subscription));
    std::future<int> sent = sendAndHold();

    const pid_t child = fork();
    if (child == 0)
    {
        alarm(10);
        _exit(subscription.end() == -130 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);

    fLeave.set_value();
    EXPECT_EQ(0, status);
    EXPECT_EQ(0, sent.get());
}

TEST_F(SubscriptionTest, EndingWithinTheCallableDoesNotWait)
{
    PSubscription subscription;
    int ended = 1;
    ASSERT_EQ(0, subscription.subscribe(kTopic, [&](const PLiteral&, IBase*, int)
                                        { ended = subscription.end(); }));
    EXPECT_EQ(0, send());
    EXPECT_EQ(0, ended);
    EXPECT_EQ(eIxlaNoListener, send());
}

TEST_F(SubscriptionTest, CallableStaysValidWhileItEndsItsOwnSubscription)
{
    PSubscription subscription;
    const auto captured = std::make_shared<int>(42);
    int seen = 0;
    ASSERT_EQ(0,
              subscription.subscribe(kTopic,
                                     [&subscription, &seen, captured](const PLiteral&, IBase*, int)
                                     {
                                         subscription.end();
                                         seen = *captured;
                                     }));
    EXPECT_EQ(0, send());
    EXPECT_EQ(42, seen);
    EXPECT_EQ(1, captured.use_count());
}

TEST_F(SubscriptionTest, LateDeliveryDoesNotReachTheCallable)
{
    PSubscription late;
    ASSERT_EQ(0, subscribe(late));
    // Called first, because it was added last; the other one is called after it.
    PSubscription early;
    ASSERT_EQ(0, early.subscribe(kTopic, [&](const PLiteral&, IBase*, int) { late.end(); }));
    EXPECT_EQ(0, send());
    EXPECT_EQ(0, fEvents);
}

TEST_F(SubscriptionTest, RemovalThatFailsLeavesAListenerThatDoesNothing)
{
    PSubscription late;
    ASSERT_EQ(0, subscribe(late));
    int ended = 0;
    PSubscription early;
    ASSERT_EQ(0, early.subscribe(kTopic,
                                 [&](const PLiteral&, IBase*, int)
                                 {
                                     AllocationFaults::failAfter(0);
                                     ended = late.end();
                                     AllocationFaults::disarm();
                                 }));
    EXPECT_EQ(0, send());
    EXPECT_EQ(eIxlaNoMemory, ended);
    EXPECT_EQ(0, fEvents);
    EXPECT_TRUE(late);
    EXPECT_EQ(0, late.end());
    EXPECT_EQ(0, early.end());
    EXPECT_EQ(eIxlaNoListener, send());
}

TEST_F(SubscriptionTest, LackOfMemoryReturnsACodeAndSubscribesNothing)
{
    int result = eIxlaOk;
    int skipped = 0;
    PSubscription subscription;
    for (bool struck = true; struck; ++skipped)
    {
        AllocationFaults::failOnceAfter(skipped);
        result = subscribe(subscription);
        struck = AllocationFaults::struck();
        AllocationFaults::disarm();
        EXPECT_EQ(struck ? eIxlaNoMemory : eIxlaOk, result) << skipped;
        EXPECT_EQ(result == eIxlaOk, static_cast<bool>(subscription));
    }
    EXPECT_EQ(0, result);
    EXPECT_LT(5, skipped);
    EXPECT_EQ(0, send());
    EXPECT_EQ(1, fEvents);
}

TEST_F(SubscriptionTest, NothingIsCalledAfterTheEndWhileThreadsSend)
{
    std::atomic<bool> stop{false};
    std::thread senders[3];
    for (std::thread& sender : senders)
    {
        sender = std::thread(
            [&]
            {
                while (!stop)
                {
                    send();
                }
            });
    }
    for (int round = 0; round < 300; ++round)
    {
        // Freed after the subscription has ended, when nothing may use it.
        const auto used = std::make_unique<std::atomic<int>>(0);
        PSubscription subscription;
        EXPECT_EQ(
            0, subscription.subscribe(kTopic, [&used](const PLiteral&, IBase*, int) { ++*used; }));
    }
    stop = true;
    for (std::thread& sender : senders)
    {
        sender.join();
    }
}
} // namespace
