// SPDX-License-Identifier: MIT
#include "events/PEventDispatcher.h"

#include "Ixla.h"
#include "events/TestListener.h"
#include "support/AllocationFaults.h"

#include <gtest/gtest.h>

namespace
{
const PLiteral kTopic(L"a topic that is longer than any text that needs no memory of its own");
const PLiteral kOther(L"another topic");

class EventDispatcherMemory : public testing::Test
{
protected:
    void SetUp() override
    {
        dispatcher = PBaseptr<PEventDispatcher>::adopt(new PEventDispatcher);
        ASSERT_EQ(0, dispatcher->init());
        first = TestListener::make(journal, "L1");
        second = TestListener::make(journal, "L2");
    }

    void TearDown() override
    {
        AllocationFaults::disarm();
    }

    int send(const PLiteral& iTopic = kTopic)
    {
        return dispatcher->send(iTopic, nullptr, 0);
    }

    Journal journal;
    PBaseptr<PEventDispatcher> dispatcher;
    PBaseptr<TestListener> first;
    PBaseptr<TestListener> second;
};

TEST_F(EventDispatcherMemory, SendAllocatesNothingForAnyNumberOfListeners)
{
    std::vector<PBaseptr<TestListener>> listeners;
    for (int i = 0; i < 20; ++i)
    {
        listeners.push_back(TestListener::make(journal, ""));
        dispatcher->addListener(kTopic, listeners.back().get());
    }

    AllocationFaults::startCounting();
    ASSERT_EQ(eIxlaOk, send());

    EXPECT_EQ(0, AllocationFaults::counted());
}

TEST_F(EventDispatcherMemory, SendWithoutListenersAllocatesNothing)
{
    dispatcher->addListener(kOther, first.get());

    AllocationFaults::startCounting();
    ASSERT_EQ(eIxlaNoListener, send());

    EXPECT_EQ(0, AllocationFaults::counted());
}

TEST_F(EventDispatcherMemory, RemovalNeedsNoMemory)
{
    dispatcher->addListener(kTopic, first.get());
    dispatcher->addListener(kTopic, second.get());

    AllocationFaults::failAfter(0);
    const int results = dispatcher->removeListener(kTopic, first.get()) |
                        dispatcher->removeListener(kTopic, second.get());
    AllocationFaults::disarm();

    EXPECT_EQ(0, results);
    EXPECT_EQ(eIxlaNoListener, send());
}

TEST_F(EventDispatcherMemory, FailedSubscriptionToALongListChangesNothing)
{
    std::vector<PBaseptr<TestListener>> listeners;
    for (int i = 0; i < 100; ++i)
    {
        listeners.push_back(TestListener::make(journal, ""));
        TestListener* const added = listeners.back().get();
        int failures = 0;
        int result = eIxlaNoMemory;
        for (; result == eIxlaNoMemory; ++failures)
        {
            AllocationFaults::failAfter(failures);
            result = dispatcher->addListener(kTopic, added);
            AllocationFaults::disarm();
            EXPECT_EQ(result == 0 ? 2 : 1, added->references());
        }
        EXPECT_EQ(0, result);
        EXPECT_EQ(eIxlaListenerExists, dispatcher->addListener(kTopic, added));
    }
}

TEST_F(EventDispatcherMemory, ReplacedSubscriptionsNeedNoMoreMemory)
{
    constexpr int kTurns = 1000;
    const auto third = TestListener::make(journal, "L3");
    const auto replace = [&](int iTurns)
    {
        for (int i = 0; i < iTurns; ++i)
        {
            TestListener* const oldest = (i % 3 == 0 ? first : i % 3 == 1 ? second : third).get();
            dispatcher->removeListener(kTopic, oldest);
            dispatcher->addListener(kTopic, oldest);
        }
    };
    dispatcher->addListener(kTopic, first.get());
    dispatcher->addListener(kTopic, second.get());
    dispatcher->addListener(kTopic, third.get());
    replace(99);

    AllocationFaults::startCounting();
    replace(kTurns);

    // Each addition allocates the count of its shares.
    EXPECT_EQ(kTurns, AllocationFaults::counted());
}

TEST_F(EventDispatcherMemory, ChangeWithoutMemoryDuringADeliveryHasNoEffect)
{
    std::vector<int> results;
    const auto changing =
        TestListener::make(journal, "changing",
                           [&](TestListener& ioSelf, const TestEvent&)
                           {
                               results.assign(2, 0);
                               AllocationFaults::failAfter(0);
                               results[0] = dispatcher->removeListener(kTopic, &ioSelf);
                               results[1] = dispatcher->addListener(kTopic, second.get());
                               AllocationFaults::disarm();
                           });
    dispatcher->addListener(kTopic, first.get());
    dispatcher->addListener(kTopic, changing.get());

    ASSERT_EQ(eIxlaOk, send());

    EXPECT_EQ((std::vector<int>{eIxlaNoMemory, eIxlaNoMemory}), results);
    ASSERT_EQ(eIxlaOk, send());
    EXPECT_EQ((std::vector<std::string>{"changing", "L1", "changing", "L1"}), journal.entries());
    EXPECT_EQ(eIxlaOk, dispatcher->removeListener(kTopic, changing.get()));
}

TEST_F(EventDispatcherMemory, LastListenerIsRemovedWithoutMemoryDuringADelivery)
{
    int result = -1;
    const auto leaving = TestListener::make(journal, "leaving",
                                            [&](TestListener& ioSelf, const TestEvent&)
                                            {
                                                AllocationFaults::failAfter(0);
                                                result =
                                                    dispatcher->removeListener(kTopic, &ioSelf);
                                                AllocationFaults::disarm();
                                            });
    dispatcher->addListener(kTopic, leaving.get());

    ASSERT_EQ(eIxlaOk, send());

    EXPECT_EQ(eIxlaOk, result);
    EXPECT_EQ(eIxlaNoListener, send());
}
} // namespace
