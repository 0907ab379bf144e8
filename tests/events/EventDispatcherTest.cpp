// SPDX-License-Identifier: MIT
#include "events/PEventDispatcher.h"

#include "Ixla.h"
#include "events/TestListener.h"
#include "events/TestTopics.h"
#include "support/Texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class EventDispatcher : public testing::Test
{
protected:
    EventDispatcher() : dispatcher(PBaseptr<PEventDispatcher>::adopt(new PEventDispatcher))
    {
    }

    void SetUp() override
    {
        ASSERT_EQ(0, dispatcher->init());
    }

    PBaseptr<TestListener> make(const std::string& iName, TestListener::Action iAction = nullptr)
    {
        return TestListener::make(journal, iName, std::move(iAction));
    }

    int add(const PBaseptr<TestListener>& iListener, const PLiteral& iTopic = kTopic)
    {
        return dispatcher->addListener(iTopic, iListener.get());
    }

    int remove(const PBaseptr<TestListener>& iListener, const PLiteral& iTopic = kTopic)
    {
        return dispatcher->removeListener(iTopic, iListener.get());
    }

    int send(const PLiteral& iTopic = kTopic)
    {
        return dispatcher->send(iTopic, nullptr, 0);
    }

    Journal journal;
    PBaseptr<PEventDispatcher> dispatcher;
};

TEST_F(EventDispatcher, TopicWithoutSubscriptionsIsNotFound)
{
    EXPECT_EQ(eIxlaNoListener, send());
}

TEST_F(EventDispatcher, ListenersAreCalledLastAddedFirst)
{
    const auto first = make("L1");
    const auto second = make("L2");
    const auto third = make("L3");
    add(first);
    add(second);
    add(third);

    EXPECT_EQ(0, send());

    EXPECT_THAT(journal.entries(), ElementsAre("L3", "L2", "L1"));
}

TEST_F(EventDispatcher, RemovalAnywhereKeepsTheOrderOfTheOthers)
{
    const std::vector<std::string> names{"L5", "L4", "L3", "L2", "L1", "L0"};
    for (std::size_t removed = 0; removed < names.size(); ++removed)
    {
        const PString topic(std::to_wstring(removed).c_str());
        std::vector<PBaseptr<TestListener>> listeners;
        for (auto name = names.rbegin(); name != names.rend(); ++name)
        {
            listeners.push_back(make(*name));
            ASSERT_EQ(0, add(listeners.back(), topic));
        }
        const std::size_t before = journal.entries().size();

        EXPECT_EQ(0, remove(listeners[removed], topic));

        EXPECT_EQ(0, send(topic));
        std::vector<std::string> expected = names;
        expected.erase(expected.end() - 1 - static_cast<std::ptrdiff_t>(removed));
        std::vector<std::string> entries = journal.entries();
        entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(before));
        EXPECT_EQ(expected, entries) << removed;
    }
}

TEST_F(EventDispatcher, SecondSubscriptionToATopicIsRefused)
{
    const auto listener = make("L");

    EXPECT_EQ(0, add(listener));
    EXPECT_EQ(eIxlaListenerExists, add(listener));
    send();

    EXPECT_THAT(journal.entries(), ElementsAre("L"));
    EXPECT_EQ(2, listener->references());
}

TEST_F(EventDispatcher, SecondSubscriptionIsRefusedForEachOfManyListeners)
{
    std::vector<PBaseptr<TestListener>> listeners;
    for (int i = 0; i < 300; ++i)
    {
        listeners.push_back(make(""));
        EXPECT_EQ(0, add(listeners.back()));
        for (const auto& listener : listeners)
        {
            EXPECT_EQ(eIxlaListenerExists, add(listener));
        }
    }
}

TEST_F(EventDispatcher, ManyListenersCanLeaveAndSubscribeAgain)
{
    std::vector<PBaseptr<TestListener>> listeners;
    for (int i = 0; i < 100; ++i)
    {
        listeners.push_back(make(""));
        add(listeners.back());
    }
    for (int turn = 0; turn < 10; ++turn)
    {
        for (const auto& listener : listeners)
        {
            EXPECT_EQ(0, remove(listener));
            EXPECT_EQ(0, add(listener));
            EXPECT_EQ(eIxlaListenerExists, add(listener));
        }
    }
}

TEST_F(EventDispatcher, ListenerOfTwoTopicsIsCalledOnceForEach)
{
    std::vector<std::string> topics;
    const auto listener = make("L", [&](TestListener&, const TestEvent& iEvent)
                               { topics.push_back(narrow(iEvent.topic)); });

    EXPECT_EQ(0, add(listener, kTopic));
    EXPECT_EQ(0, add(listener, kOther));
    send(kOther);
    send(kTopic);

    EXPECT_THAT(topics, ElementsAre("test.other", "test.topic"));
}

TEST_F(EventDispatcher, LastRemovalRemovesTheTopic)
{
    const auto listener = make("L");
    add(listener);

    EXPECT_EQ(0, remove(listener));

    EXPECT_EQ(eIxlaNoListener, send());
    EXPECT_EQ(eIxlaNoListener, remove(listener));
    EXPECT_THAT(journal.entries(), IsEmpty());
}

TEST_F(EventDispatcher, RemovalOfAnUnknownListenerDoesNotChangeTheTopic)
{
    const auto listener = make("L");
    const auto stranger = make("S");
    add(listener);

    EXPECT_EQ(eIxlaNoListener, remove(stranger));

    EXPECT_EQ(0, send());
}

TEST_F(EventDispatcher, RemovedListenerCanSubscribeAgain)
{
    const auto listener = make("L");
    add(listener);
    remove(listener);

    EXPECT_EQ(0, add(listener));
    EXPECT_EQ(0, send());
}

TEST_F(EventDispatcher, TopicsAreComparedExactly)
{
    const auto listener = make("L");
    add(listener);

    EXPECT_EQ(eIxlaNoListener, send(L"test"));
    EXPECT_EQ(eIxlaNoListener, send(L"test.topic.more"));
    EXPECT_EQ(eIxlaNoListener, send(L"Test.topic"));
}

TEST_F(EventDispatcher, TopicIsCopiedWhenItIsAdded)
{
    const auto listener = make("L");
    PString topic(L"changing");
    add(listener, topic);

    topic = L"changed!";

    EXPECT_EQ(0, send(L"changing"));
}

TEST_F(EventDispatcher, SubscriptionTakesOneReference)
{
    const auto listener = make("L");

    add(listener);
    EXPECT_EQ(2, listener->references());

    remove(listener);
    EXPECT_EQ(1, listener->references());
}

TEST_F(EventDispatcher, DeliveryTakesNoReference)
{
    int during = 0;
    const auto listener =
        make("L", [&](TestListener& ioSelf, const TestEvent&) { during = ioSelf.references(); });
    add(listener);

    send();

    EXPECT_EQ(2, during);
}

TEST_F(EventDispatcher, SubscriptionHoldsTheListener)
{
    auto listener = make("L");
    add(listener);

    listener.clear();

    EXPECT_EQ(0, send());
    EXPECT_THAT(journal.entries(), ElementsAre("L"));
}

TEST_F(EventDispatcher, ParametersArePassedThroughUnchanged)
{
    const auto parameter = make("parameter");
    IBase* param1 = nullptr;
    int param2 = 0;
    int references = 0;
    const auto listener = make("L",
                               [&](TestListener&, const TestEvent& iEvent)
                               {
                                   param1 = iEvent.param1;
                                   param2 = iEvent.param2;
                                   references = parameter->references();
                               });
    add(listener);

    dispatcher->send(kTopic, parameter.get(), -77);

    EXPECT_EQ(parameter.get(), param1);
    EXPECT_EQ(-77, param2);
    EXPECT_EQ(1, references);
}

TEST_F(EventDispatcher, ResultOfAListenerIsIgnored)
{
    const auto first = make("L1");
    const auto failing = make("L2");
    failing->result = -1;
    add(first);
    add(failing);

    EXPECT_EQ(0, send());

    EXPECT_THAT(journal.entries(), ElementsAre("L2", "L1"));
}

TEST_F(EventDispatcher, ThrowingListenerDoesNotStopTheDelivery)
{
    const auto first = make("L1");
    const auto throwing =
        make("L2", [](TestListener&, const TestEvent&) { throw std::runtime_error("listener"); });
    add(first);
    add(throwing);

    EXPECT_EQ(0, send());

    EXPECT_THAT(journal.entries(), ElementsAre("L2", "L1"));
}

TEST_F(EventDispatcher, ListenerThatRemovesItselfLivesUntilItsCallReturns)
{
    int aliveAfterRemoval = 0;
    const auto other = make("other");
    add(other);
    auto listener = make("self",
                         [&](TestListener& ioSelf, const TestEvent& iEvent)
                         {
                             EXPECT_EQ(0, dispatcher->removeListener(iEvent.topic, &ioSelf));
                             aliveAfterRemoval = journal.alive;
                         });
    add(listener);
    listener.clear();

    EXPECT_EQ(0, send());

    EXPECT_EQ(2, aliveAfterRemoval);
    EXPECT_EQ(1, journal.alive);
    EXPECT_THAT(journal.entries(), ElementsAre("self", "other"));
}

TEST_F(EventDispatcher, ListenerRemovedDuringADeliveryStillGetsThatEvent)
{
    const auto victim = make("victim");
    const auto remover = make("remover", [&](TestListener&, const TestEvent&) { remove(victim); });
    add(victim);
    add(remover);

    send();
    send();

    EXPECT_THAT(journal.entries(), ElementsAre("remover", "victim", "remover"));
}

TEST_F(EventDispatcher, ListenerAddedDuringADeliveryGetsOnlyLaterEvents)
{
    const auto late = make("late");
    const auto adder = make("adder", [&](TestListener&, const TestEvent&) { add(late); });
    add(adder);

    send();
    EXPECT_THAT(journal.entries(), ElementsAre("adder"));

    send();
    EXPECT_THAT(journal.entries(), ElementsAre("adder", "late", "adder"));
}

TEST_F(EventDispatcher, ListenerMaySendOnTheSameTopic)
{
    int depth = 0;
    const auto listener = make("L", [&](TestListener&, const TestEvent& iEvent)
                               { return ++depth < 3 ? send(iEvent.topic) : 0; });
    add(listener);

    EXPECT_EQ(0, send());

    EXPECT_EQ(3, depth);
}

TEST_F(EventDispatcher, ListenersMayLeaveInAnEventInsideManyOthers)
{
    int depth = 0;
    const auto outer = make("", [&](TestListener&, const TestEvent&)
                            { return ++depth < 8 ? send(kOther) : send(); });
    const auto last = make("last");
    const auto middle = make("middle");
    const auto leaving = make("leaving",
                              [&](TestListener& ioSelf, const TestEvent&)
                              {
                                  EXPECT_EQ(0, remove(middle));
                                  return dispatcher->removeListener(kTopic, &ioSelf);
                              });
    add(outer, kOther);
    add(last);
    add(middle);
    add(leaving);

    EXPECT_EQ(0, send(kOther));

    EXPECT_THAT(journal.entries(), ElementsAre("leaving", "middle", "last"));
    EXPECT_EQ(2, last->references());
    EXPECT_EQ(1, middle->references());
    EXPECT_EQ(1, leaving->references());
}

TEST_F(EventDispatcher, EmptyTopicIsInvalidEverywhere)
{
    const auto listener = make("L");

    EXPECT_EQ(eIxlaInvalidArgument, add(listener, kEmpty));
    EXPECT_EQ(eIxlaInvalidArgument, remove(listener, kEmpty));
    EXPECT_EQ(eIxlaInvalidArgument, send(kEmpty));
    EXPECT_EQ(1, listener->references());
}

TEST_F(EventDispatcher, NullListenerIsInvalid)
{
    EXPECT_EQ(eIxlaInvalidArgument, dispatcher->addListener(kTopic, nullptr));
    EXPECT_EQ(eIxlaInvalidArgument, dispatcher->removeListener(kTopic, nullptr));
    EXPECT_EQ(eIxlaNoListener, send());
}

TEST_F(EventDispatcher, DestructionReleasesEveryListenerOnce)
{
    const auto kept = make("kept");
    add(kept, kTopic);
    add(kept, kOther);
    add(make("dropped"), kTopic);
    ASSERT_EQ(3, kept->references());

    dispatcher.clear();

    EXPECT_EQ(1, kept->references());
    EXPECT_EQ(1, journal.alive);
}

TEST_F(EventDispatcher, LivesWhileReferencesAreHeld)
{
    const PBaseptr<IEventDispatcher> user(dispatcher.get());
    const auto listener = make("L");
    add(listener);

    dispatcher.clear();

    EXPECT_EQ(0, user->send(kTopic, nullptr, 0));
}

TEST_F(EventDispatcher, CountsItsReferences)
{
    EXPECT_EQ(2, dispatcher->incRef());
    EXPECT_EQ(1, dispatcher->decRef());
}

// A listener may call the dispatcher while the dispatcher's destructor releases it.
TEST_F(EventDispatcher, ListenerReleasedByDestructionMayStillUnsubscribe)
{
    PEventDispatcher* const dying = dispatcher.get();
    int result = 0;
    auto listener = make("L");
    TestListener* const raw = listener.get();
    add(listener);
    listener.clear();
    raw->onDestroy = [&, raw]
    {
        const PBaseptr<IEventDispatcher> holder(dying);
        result = holder->removeListener(kTopic, raw);
    };

    dispatcher.clear();

    EXPECT_EQ(eIxlaNoListener, result);
    EXPECT_EQ(0, journal.alive);
}

TEST_F(EventDispatcher, RemovalReleasesTheListenerWithoutHoldingTheLock)
{
    auto listener = make("L");
    std::future<int> sent;
    std::future_status status = std::future_status::timeout;
    listener->onDestroy = [&]
    {
        sent = std::async(std::launch::async, [&] { return send(kOther); });
        status = sent.wait_for(std::chrono::seconds(20));
    };
    TestListener* const raw = listener.get();
    add(listener);
    listener.clear();

    EXPECT_EQ(0, dispatcher->removeListener(kTopic, raw));

    EXPECT_EQ(std::future_status::ready, status);
}
} // namespace
