// SPDX-License-Identifier: MIT
#include "events/PEventDispatcher.h"

#include "Ixla.h"
#include "events/TestListener.h"
#include "events/TestTopics.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace
{
constexpr auto kLimit = std::chrono::seconds(60);

class EventDispatcherThreads : public testing::Test
{
protected:
    void SetUp() override
    {
        dispatcher = PBaseptr<PEventDispatcher>::adopt(new PEventDispatcher);
        ASSERT_EQ(0, dispatcher->init());
    }

    int send()
    {
        return dispatcher->send(kTopic, nullptr, 0);
    }

    /// Subscribes a listener that only the dispatcher holds.
    void add(TestListener::Action iAction)
    {
        const auto listener = TestListener::make(journal, "", std::move(iAction));
        EXPECT_EQ(0, dispatcher->addListener(kTopic, listener.get()));
    }

    /// Runs iWork on iThreads threads that start at once; iWork gets the thread's number.
    static void together(int iThreads, const std::function<void(int)>& iWork)
    {
        std::promise<void> start;
        const std::shared_future<void> started = start.get_future().share();
        std::vector<std::thread> threads;
        threads.reserve(static_cast<std::size_t>(iThreads));
        for (int number = 0; number < iThreads; ++number)
        {
            threads.emplace_back(
                [&iWork, started, number]
                {
                    started.wait();
                    iWork(number);
                });
        }
        start.set_value();
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    }

    Journal journal;
    PBaseptr<PEventDispatcher> dispatcher;
};

/// Replaces itself by a new listener at every event.
int giveWay(PEventDispatcher& ioDispatcher, Journal& ioJournal, TestListener& ioSelf)
{
    if (ioDispatcher.removeListener(kTopic, &ioSelf) != eIxlaOk)
    {
        return 0;
    }
    const auto heir = TestListener::make(ioJournal, "",
                                         [&](TestListener& ioNext, const TestEvent&)
                                         { return giveWay(ioDispatcher, ioJournal, ioNext); });
    return ioDispatcher.addListener(kTopic, heir.get());
}

TEST_F(EventDispatcherThreads, ListenersSubscribeAndUnsubscribeInTheHandlerWhileManySend)
{
    for (int i = 0; i < 5; ++i)
    {
        add([this](TestListener& ioSelf, const TestEvent&)
            { return giveWay(*dispatcher, journal, ioSelf); });
    }

    together(6,
             [this](int)
             {
                 for (int i = 0; i < 1000; ++i)
                 {
                     const int result = send();
                     ASSERT_TRUE(result == eIxlaOk || result == eIxlaNoListener) << result;
                 }
             });

    EXPECT_EQ(5, journal.alive);
    dispatcher.clear();
    EXPECT_EQ(0, journal.alive);
}

TEST_F(EventDispatcherThreads, ListenersStayValidWhileOthersSubscribeAndSend)
{
    std::atomic<int> events{0};
    add([&events](TestListener&, const TestEvent&) { ++events; });

    together(6,
             [&](int iNumber)
             {
                 const auto own = TestListener::make(journal, "");
                 for (int i = 0; i < 1000; ++i)
                 {
                     if (iNumber % 2 == 0)
                     {
                         ASSERT_EQ(eIxlaOk, send());
                         continue;
                     }
                     ASSERT_EQ(eIxlaOk, dispatcher->addListener(kTopic, own.get()));
                     ASSERT_EQ(eIxlaOk, dispatcher->removeListener(kTopic, own.get()));
                 }
             });

    EXPECT_EQ(3000, events);
    EXPECT_EQ(1, journal.alive);
}

TEST_F(EventDispatcherThreads, OneOfManySimultaneousSubscriptionsSucceeds)
{
    const auto listener = TestListener::make(journal, "");
    std::atomic<int> added{0};

    together(8, [&](int) { added += dispatcher->addListener(kTopic, listener.get()) == eIxlaOk; });

    EXPECT_EQ(1, added);
    EXPECT_EQ(2, listener->references());
}

TEST_F(EventDispatcherThreads, SendsAreDeliveredWhileAnotherDeliveryIsUnderWay)
{
    std::atomic<bool> outer{true};
    std::future_status status = std::future_status::timeout;
    std::future<int> other;
    add(
        [&](TestListener&, const TestEvent&)
        {
            if (outer.exchange(false))
            {
                other = std::async(std::launch::async, [this] { return send(); });
                status = other.wait_for(kLimit);
            }
        });

    EXPECT_EQ(eIxlaOk, send());

    EXPECT_EQ(std::future_status::ready, status);
    EXPECT_EQ(eIxlaOk, other.get());
}

TEST_F(EventDispatcherThreads, ListenerRemovedByAnotherThreadLivesUntilItsCallReturns)
{
    int result = -1;
    int aliveDuring = 0;
    add(
        [&](TestListener& ioSelf, const TestEvent&)
        {
            std::thread([&] { result = dispatcher->removeListener(kTopic, &ioSelf); }).join();
            aliveDuring = journal.alive;
        });

    EXPECT_EQ(eIxlaOk, send());

    EXPECT_EQ(eIxlaOk, result);
    EXPECT_EQ(1, aliveDuring);
    EXPECT_EQ(0, journal.alive);
}
} // namespace
