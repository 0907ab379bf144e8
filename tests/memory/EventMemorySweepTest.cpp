// SPDX-License-Identifier: MIT
// Sweeps of the operations of the event dispatcher.

#include "events/PEventDispatcher.h"
#include "events/TestListener.h"
#include "support/AllocationSweep.h"

#include <gmock/gmock.h>

namespace
{
const PLiteral kTopic(L"a topic that is longer than any text that needs no memory of its own");

class EventMemorySweep : public testing::Test
{
protected:
    void SetUp() override
    {
        dispatcher = PBaseptr<PEventDispatcher>::adopt(new PEventDispatcher);
        ASSERT_EQ(0, dispatcher->init());
    }

    int add(const PBaseptr<TestListener>& iListener)
    {
        return dispatcher->addListener(kTopic, iListener.get());
    }

    int remove(const PBaseptr<TestListener>& iListener)
    {
        return dispatcher->removeListener(kTopic, iListener.get());
    }

    Journal journal;
    int heard = 0;
    PBaseptr<PEventDispatcher> dispatcher;
    PBaseptr<TestListener> first = listener();
    PBaseptr<TestListener> second = listener();

private:
    /// Only counts its events, so that it needs no memory.
    PBaseptr<TestListener> listener()
    {
        return TestListener::make(journal, "",
                                  [this](TestListener&, const TestEvent&) { ++heard; });
    }
};
} // namespace

TEST_F(EventMemorySweep, References)
{
    sweepReferences(*dispatcher, "IEventDispatcher::incRef", "IEventDispatcher::decRef");
}

TEST_F(EventMemorySweep, FirstSubscription)
{
    sweepAllocations({
        .operation = "IEventDispatcher::addListener",
        .run = [&] { return add(first); },
        .unchanged =
            [&]
        {
            EXPECT_EQ(1, first->references());
            EXPECT_EQ(-5001, dispatcher->send(kTopic, nullptr, 0));
            EXPECT_EQ(-5001, remove(first));
        },
        .done = [&] { EXPECT_EQ(2, first->references()); },
        .undo = [&] { EXPECT_EQ(0, remove(first)); },
    });
}

TEST_F(EventMemorySweep, FurtherSubscription)
{
    sweepAllocations({.operation = "IEventDispatcher::addListener of a second listener",
                      .before = [&] { ASSERT_EQ(0, add(first)); },
                      .run = [&] { return add(second); },
                      .unchanged =
                          [&]
                      {
                          EXPECT_EQ(2, first->references());
                          EXPECT_EQ(1, second->references());
                          EXPECT_EQ(-5001, remove(second));
                      },
                      .done = [&] { EXPECT_EQ(2, second->references()); },
                      .undo =
                          [&]
                      {
                          EXPECT_EQ(0, remove(first));
                          EXPECT_EQ(0, remove(second));
                      }});
}

// The caller may hold no reference to a new listener, so that a failure must not release it.
TEST_F(EventMemorySweep, SubscriptionOfAnUncountedListener)
{
    TestListener* fresh = nullptr;
    sweepAllocations({
        .operation = "IEventDispatcher::addListener of an uncounted listener",
        .before = [&] { fresh = new TestListener(journal, ""); },
        .run = [&] { return dispatcher->addListener(kTopic, fresh); },
        .unchanged = [&] { EXPECT_EQ(3, journal.alive); },
        .done = [&] { EXPECT_EQ(1, fresh->references()); },
        .undo = [&] { EXPECT_EQ(0, dispatcher->removeListener(kTopic, fresh)); },
    });
    EXPECT_EQ(2, journal.alive);
}

TEST_F(EventMemorySweep, Removal)
{
    sweepAllocations({
        .operation = "IEventDispatcher::removeListener",
        .before = [&] { ASSERT_EQ(0, add(first)); },
        .run = [&] { return remove(first); },
        .done = [&] { EXPECT_EQ(1, first->references()); },
    });
}

TEST_F(EventMemorySweep, Event)
{
    ASSERT_EQ(0, add(first));
    ASSERT_EQ(0, add(second));
    sweepAllocations({
        .operation = "IEventDispatcher::send",
        .before = [&] { heard = 0; },
        .run = [&] { return dispatcher->send(kTopic, nullptr, 0); },
        .unchanged = [&] { EXPECT_EQ(0, heard); },
        .done = [&] { EXPECT_EQ(2, heard); },
    });
}
