#include "events/PEventDispatcher.h"

#include "Ixla.h"
#include "events/PEventDispatcherPlugin.h"
#include "events/TestListener.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

#include <memory>

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

    /// Adds with the allocation after iSkip others failing.
    int addWithFault(TestListener* iListener, int iSkip)
    {
        AllocationFaults::failOnceAfter(iSkip);
        const int result = dispatcher->addListener(kTopic, iListener);
        AllocationFaults::disarm();
        return result;
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

TEST_F(EventDispatcherMemory, FailedFirstSubscriptionLeavesNoTopic)
{
    int failures = 0;
    for (; addWithFault(first.get(), failures) != eIxlaOk; ++failures)
    {
        ASSERT_TRUE(AllocationFaults::struck());
        EXPECT_EQ(1, first->references());
        EXPECT_EQ(eIxlaNoListener, send());
        EXPECT_EQ(eIxlaNoListener, dispatcher->removeListener(kTopic, first.get()));
    }

    EXPECT_LT(0, failures);
    EXPECT_EQ(eIxlaOk, send());
}

TEST_F(EventDispatcherMemory, FailedFurtherSubscriptionKeepsTheEarlierOnes)
{
    ASSERT_EQ(eIxlaOk, dispatcher->addListener(kTopic, first.get()));

    int failures = 0;
    for (; addWithFault(second.get(), failures) != eIxlaOk; ++failures)
    {
        EXPECT_EQ(1, second->references());
        EXPECT_EQ(2, first->references());
        EXPECT_EQ(eIxlaNoListener, dispatcher->removeListener(kTopic, second.get()));
    }

    EXPECT_LT(0, failures);
    EXPECT_EQ(eIxlaOk, send());
    EXPECT_EQ((std::vector<std::string>{"L2", "L1"}), journal.entries());
}

TEST_F(EventDispatcherMemory, LackOfMemoryHasItsResultCode)
{
    EXPECT_EQ(eIxlaNoMemory, addWithFault(first.get(), 0));
}

// The caller may have made the listener just for this call, so that nobody else holds it.
TEST_F(EventDispatcherMemory, FailedSubscriptionLeavesAnUncountedListenerAlive)
{
    auto* const fresh = new TestListener(journal, "fresh");

    int failures = 0;
    for (; addWithFault(fresh, failures) != eIxlaOk; ++failures)
    {
        ASSERT_EQ(3, journal.alive);
    }

    EXPECT_LT(0, failures);
    EXPECT_EQ(1, fresh->references());
}

TEST_F(EventDispatcherMemory, FailedSendNotifiesNobody)
{
    dispatcher->addListener(kTopic, first.get());
    dispatcher->addListener(kTopic, second.get());

    AllocationFaults::failAfter(0);
    const int result = send();
    AllocationFaults::disarm();

    EXPECT_EQ(eIxlaNoMemory, result);
    EXPECT_TRUE(journal.entries().empty());
    EXPECT_EQ(eIxlaOk, send());
}

TEST_F(EventDispatcherMemory, SendAllocatesOnceForAnyNumberOfListeners)
{
    std::vector<PBaseptr<TestListener>> listeners;
    for (int i = 0; i < 20; ++i)
    {
        listeners.push_back(TestListener::make(journal, ""));
        dispatcher->addListener(kTopic, listeners.back().get());
    }

    AllocationFaults::startCounting();
    ASSERT_EQ(eIxlaOk, send());

    EXPECT_EQ(1, AllocationFaults::counted());
}

TEST_F(EventDispatcherMemory, SendToNobodyAllocatesNothing)
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

class EventDispatcherPluginMemory : public testing::Test
{
protected:
    void TearDown() override
    {
        AllocationFaults::disarm();
    }

    /// Initialises with the allocation after iSkip others failing.
    int initWithFault(int iSkip)
    {
        AllocationFaults::failOnceAfter(iSkip);
        const int result = plugin->init();
        AllocationFaults::disarm();
        return result;
    }

    IBase* instance()
    {
        IBase* result = nullptr;
        EXPECT_EQ(eIxlaOk, plugin->getInstance(kIxlaEventDispatcherId, result));
        return result;
    }

    PBaseptr<IPlugin> plugin = PBaseptr<IPlugin>::adopt(new PEventDispatcherPlugin);
};

TEST_F(EventDispatcherPluginMemory, FailedInitKeepsNoDispatcher)
{
    int failures = 0;
    for (int result = 0; (result = initWithFault(failures)) != eIxlaOk; ++failures)
    {
        EXPECT_EQ(eIxlaNoMemory, result);
        EXPECT_EQ(nullptr, instance());
    }

    EXPECT_LT(1, failures);
    EXPECT_NE(nullptr, instance());
}

// Taking hold of the log is one more step that can fail.
TEST_F(EventDispatcherPluginMemory, FailedInitWithALogKeepsNoDispatcher)
{
    CoreRun core;
    core.writeManagerConfig("");
    ASSERT_EQ(0, core.start());

    bool struck = true;
    for (int skip = 0; struck; ++skip)
    {
        const int result = initWithFault(skip);
        struck = AllocationFaults::struck();
        EXPECT_EQ(result != eIxlaOk, instance() == nullptr) << skip;
        plugin = PBaseptr<IPlugin>::adopt(new PEventDispatcherPlugin);
    }
}

TEST_F(EventDispatcherPluginMemory, FailedInterfaceListIsNull)
{
    unsigned int count = 77;
    int failures = 0;
    std::unique_ptr<PString[]> interfaces;
    while (!interfaces)
    {
        AllocationFaults::failOnceAfter(failures++);
        interfaces.reset(plugin->getInterfaces(count));
        AllocationFaults::disarm();
        ASSERT_EQ(interfaces ? 1u : 77u, count);
    }

    EXPECT_LT(1, failures);
}
} // namespace
