// SPDX-License-Identifier: MIT
#include "events/LoggedDispatcher.h"

#include "events/TestTopics.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>

using testing::ElementsAre;

namespace
{
class EventDispatcherLog : public LoggedDispatcher
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(start(1000));
        make();
        ASSERT_EQ(0, dispatcher->init());
    }

    PBaseptr<TestListener> add(const std::string& iName, const PLiteral& iTopic = kTopic)
    {
        auto listener = TestListener::make(journal, iName);
        EXPECT_EQ(0, dispatcher->addListener(iTopic, listener.get()));
        return listener;
    }

    /// The texts of the log from the first that contains iStart on, from their "[" on.
    std::vector<std::string> linesFrom(const std::string& iStart) const
    {
        std::vector<std::string> lines = readLines(core.pluginLogFile());
        lines.erase(lines.begin(), std::find_if(lines.begin(), lines.end(),
                                                [&](const std::string& iLine)
                                                { return iLine.find(iStart) != iLine.npos; }));
        for (std::string& line : lines)
        {
            line.erase(0, line.find("[EventDispatcher]"));
        }
        return lines;
    }
};

TEST_F(EventDispatcherLog, CreationIsLogged)
{
    EXPECT_EQ(1, count("[EventDispatcher] Create instance: " + shown(dispatcher.get())));
}

TEST_F(EventDispatcherLog, AddingIsLoggedWithItsResult)
{
    const auto listener = add("L");

    EXPECT_THAT(linesFrom("iTopic: test.topic"),
                ElementsAre("[EventDispatcher][addListener] iTopic: test.topic iListener: " +
                                shown(listener.get()),
                            "[EventDispatcher][addListener] res: 0"));
}

TEST_F(EventDispatcherLog, RefusedAddingIsLoggedWithItsResult)
{
    const auto listener = add("L");

    dispatcher->addListener(kTopic, listener.get());

    EXPECT_EQ(1, count("[EventDispatcher][addListener] res: -5002"));
}

TEST_F(EventDispatcherLog, InvalidAddingIsLoggedWithoutResult)
{
    dispatcher->addListener(kTopic, nullptr);
    dispatcher->addListener(kEmpty, nullptr);

    EXPECT_EQ(2, count("[EventDispatcher][addListener] Invalid topic or listener!"));
    EXPECT_EQ(0, count("[EventDispatcher][addListener] res:"));
}

TEST_F(EventDispatcherLog, RemovingIsLoggedWithItsResult)
{
    const auto listener = add("L", kOther);

    dispatcher->removeListener(kTopic, listener.get());
    dispatcher->removeListener(kOther, listener.get());

    const std::string address = shown(listener.get());
    EXPECT_THAT(
        linesFrom("[removeListener]"),
        ElementsAre("[EventDispatcher][removeListener] iTopic: test.topic iListener: " + address,
                    "[EventDispatcher][removeListener] res: -5001",
                    "[EventDispatcher][removeListener] iTopic: test.other iListener: " + address,
                    "[EventDispatcher][removeListener] res: 0"));
}

TEST_F(EventDispatcherLog, RemovingReleasesTheListenerBeforeItsResultIsLogged)
{
    auto listener = add("L");
    TestListener* const raw = listener.get();
    int results = -1;
    raw->onDestroy = [&]
    {
        results = count("[EventDispatcher][removeListener] res:");
    };
    listener.clear();

    dispatcher->removeListener(kTopic, raw);

    EXPECT_EQ(0, results);
}

TEST_F(EventDispatcherLog, InvalidRemovingIsLoggedWithoutResult)
{
    dispatcher->removeListener(kTopic, nullptr);
    dispatcher->removeListener(kEmpty, nullptr);

    EXPECT_EQ(2, count("[EventDispatcher][removeListener] Invalid topic or listener!"));
    EXPECT_EQ(0, count("[EventDispatcher][removeListener] res:"));
}

TEST_F(EventDispatcherLog, SendingIsTracedFromTopicToResult)
{
    const auto first = add("L1");
    const auto second = add("L2");

    dispatcher->send(kTopic, first.get(), 12);

    EXPECT_THAT(linesFrom("[send] iTopic: test.topic"),
                ElementsAre("[EventDispatcher][send] iTopic: test.topic iParam1: " +
                                shown(first.get()) + " iParam2: 12",
                            "[EventDispatcher][send] Notify listener: " + shown(second.get()),
                            "[EventDispatcher][send] Notify listener: " + shown(first.get()),
                            "[EventDispatcher][send] res: 0"));
}

TEST_F(EventDispatcherLog, SendingWithoutListenersTracesNone)
{
    dispatcher->send(kTopic, nullptr, 0);

    EXPECT_THAT(linesFrom("[send] iTopic: test.topic"),
                ElementsAre("[EventDispatcher][send] iTopic: test.topic iParam1: (nil) iParam2: 0",
                            "[EventDispatcher][send] res: -5001"));
}

TEST_F(EventDispatcherLog, InvalidSendingIsLoggedWithoutResult)
{
    const int results = count("[EventDispatcher][send] res:");

    dispatcher->send(kEmpty, nullptr, 0);

    EXPECT_EQ(1, count("[EventDispatcher][send] Invalid topic!"));
    EXPECT_EQ(results, count("[EventDispatcher][send] res:"));
}

TEST_F(EventDispatcherLog, TracesNeedALevelOf1000)
{
    ILogger* const logger = core.get<ILogger>(kIxlaLoggerId);
    ASSERT_NE(nullptr, logger);
    logger->setLevel(999);

    const auto listener = add("L");
    dispatcher->send(kTopic, nullptr, 0);

    EXPECT_EQ(1, count("[addListener] res: 0"));
    EXPECT_EQ(0, count("[send] iTopic: test.topic"));
    EXPECT_EQ(0, count("Notify listener: " + shown(listener.get())));
}

TEST_F(EventDispatcherLog, ThrowingListenerIsLogged)
{
    const auto listener = TestListener::make(journal, "L",
                                             [](TestListener&, const TestEvent&)
                                             { throw std::runtime_error("listener"); });
    dispatcher->addListener(kTopic, listener.get());

    EXPECT_EQ(0, dispatcher->send(kTopic, nullptr, 0));

    EXPECT_EQ(
        1, count("[EventDispatcher][send] Listener threw an exception: " + shown(listener.get())));
}

TEST_F(EventDispatcherLog, DestructionReportsEveryTopicAndListenerLeft)
{
    const auto first = add("L1", kTopic);
    const auto second = add("L2", kTopic);
    dispatcher->addListener(kOther, first.get());
    const std::string address = shown(dispatcher.get());

    dispatcher.clear();

    EXPECT_THAT(
        linesFrom("[destructor] Destroy"),
        ElementsAre("[EventDispatcher][destructor] Destroy instance: " + address,
                    "[EventDispatcher][destructor] Not removed listeners for topic: test.other",
                    "[EventDispatcher][destructor] Not removed listener: " + shown(first.get()),
                    "[EventDispatcher][destructor] Not removed listeners for topic: test.topic",
                    "[EventDispatcher][destructor] Not removed listener: " + shown(first.get()),
                    "[EventDispatcher][destructor] Not removed listener: " + shown(second.get())));
}

TEST_F(EventDispatcherLog, DestructionWithoutSubscriptionsReportsNone)
{
    const auto listener = add("L");
    dispatcher->removeListener(kTopic, listener.get());

    dispatcher.clear();

    EXPECT_EQ(1, count("[EventDispatcher][destructor] Destroy instance: "));
    EXPECT_EQ(0, count("Not removed"));
}

TEST_F(EventDispatcherLog, DispatcherHoldsItsLogUntilItsDestruction)
{
    EXPECT_EQ(0, core.stop());

    dispatcher.clear();

    EXPECT_EQ(2, count("[EventDispatcher][destructor] Destroy instance: "));
}
} // namespace
