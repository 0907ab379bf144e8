// SPDX-License-Identifier: MIT
#include "config/ConfigEventsTest.h"
#include "config/ConfigTest.h"

#include "config/PConfigChanged.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <type_traits>
#include <utility>

using testing::ElementsAre;

namespace
{
typedef ConfigTest ConfigListeners;
typedef ConfigEventsTest ConfigChanges;
} // namespace

TEST_F(ConfigListeners, SecondRegistrationOfATopicIsRefused)
{
    EXPECT_EQ(manager.addListener(L"A", L"T"), 0);
    EXPECT_EQ(manager.addListener(L"A", L"T"), -512);
    EXPECT_EQ(manager.removeListener(L"A", L"T"), 0);
    EXPECT_EQ(manager.removeListener(L"A", L"T"), -504);
}

TEST_F(ConfigListeners, RemovingTheLastTopicRemovesTheId)
{
    ASSERT_EQ(manager.addListener(L"A", L"T"), 0);
    EXPECT_EQ(manager.removeListener(L"A", L"T"), 0);

    EXPECT_EQ(manager.removeListener(L"A", L"T"), -504);
    EXPECT_EQ(manager.addListener(L"A", L"T"), 0);
}

TEST_F(ConfigListeners, UnknownIdOrTopicIsNotFound)
{
    ASSERT_EQ(manager.addListener(L"A", L"T"), 0);

    EXPECT_EQ(manager.removeListener(L"B", L"T"), -504);
    EXPECT_EQ(manager.removeListener(L"A", L"t"), -504);
}

TEST_F(ConfigListeners, AnyTextIsAnIdOrTopic)
{
    EXPECT_EQ(manager.addListener(L"", L""), 0);
    EXPECT_EQ(manager.addListener(L"a=b:c|d", L"x|y"), 0);
    EXPECT_EQ(manager.addListener(L"", L""), -512);
    EXPECT_EQ(manager.removeListener(L"", L""), 0);
    EXPECT_EQ(manager.removeListener(L"a=b:c|d", L"x|y"), 0);
}

TEST_F(ConfigListeners, EventObjectKeepsItsTextsAndDestroysItself)
{
    IConfigChanged* const event =
        new PConfigChanged(IConfigChanged::eAttributeSet, L"id", L"key", L"attribute");
    PString id;
    PString key;
    PString attribute;

    EXPECT_EQ(event->incRef(), 1);
    EXPECT_EQ(event->incRef(), 2);
    EXPECT_EQ(event->getType(), IConfigChanged::eAttributeSet);
    EXPECT_EQ(event->getID(id), 0);
    EXPECT_EQ(event->getKey(key), 0);
    EXPECT_EQ(event->getAttribute(attribute), 0);
    EXPECT_EQ(id, L"id");
    EXPECT_EQ(key, L"key");
    EXPECT_EQ(attribute, L"attribute");
    EXPECT_EQ(event->decRef(), 1);
    EXPECT_EQ(event->decRef(), 0);
}

static_assert(std::is_final<PConfigChanged>::value &&
                  !std::has_virtual_destructor<PConfigChanged>::value,
              "the event object ends its table of virtual members with the interface's");

TEST_F(ConfigChanges, RemovedTopicLeavesTheOrderOfTheOthers)
{
    for (const wchar_t* topic : {L"T1", L"T2", L"T3"})
    {
        announce(L"A", topic);
        listen(topic);
    }
    ASSERT_EQ(manager->removeListener(L"A", L"T2"), 0);
    ASSERT_EQ(manager->setString(L"A", L"K", L"1"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("T1 0 A K ", "T3 0 A K "));
}

TEST_F(ConfigChanges, TwiceRegisteredTopicGetsOneEvent)
{
    announce(L"A", L"T");
    listen(L"T");
    ASSERT_EQ(manager->addListener(L"A", L"T"), -512);
    ASSERT_EQ(manager->setString(L"A", L"K", L"1"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("T 0 A K "));
}

TEST_F(ConfigChanges, EventsOfASharedTopicHaveTheirIds)
{
    announce(L"A", L"T");
    announce(L"B", L"T");
    listen(L"T");
    ASSERT_EQ(manager->setString(L"A", L"K", L"1"), 0);
    ASSERT_EQ(manager->setString(L"B", L"K", L"1"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("T 0 A K ", "T 0 B K "));
}

TEST_F(ConfigChanges, EventsDistinguishValuesAndAttributes)
{
    announce(L"A", L"T");
    listen(L"T");
    ASSERT_EQ(manager->setInt32(L"A", L"K", 1), 0);
    ASSERT_EQ(manager->setAttrBool(L"A", L"K", L"const", true), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("T 0 A K ", "T 1 A K const"));
}

TEST_F(ConfigChanges, ListenerMayKeepTheEvent)
{
    announce(L"A", L"T");
    listen(L"T");
    PBaseptr<IConfigChanged> kept;
    recorder->onEvent = [&](IConfigChanged& iChange)
    {
        kept = &iChange;
    };
    ASSERT_EQ(manager->setString(L"A", L"K", L"1"), 0);
    PString key;

    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->getKey(key), 0);
    EXPECT_EQ(key, L"K");
    EXPECT_EQ(kept->incRef(), 2);
    EXPECT_EQ(kept->decRef(), 1);
}

TEST_F(ConfigChanges, StoringIsNotAnnounced)
{
    announce(L"A", L"T");
    listen(L"T");
    EXPECT_EQ(manager->storeString(L"A", L"K", L"1"), 0);
    EXPECT_EQ(manager->removeStoredKey(L"A", L"K"), 0);

    EXPECT_TRUE(recorder->events().empty());
}

TEST_F(ConfigChanges, RegistrationDuringDeliveryTakesEffectAtTheNextSet)
{
    announce(L"A", L"T");
    listen(L"T");
    listen(L"U");
    bool first = true;
    recorder->onEvent = [&](IConfigChanged&)
    {
        if (std::exchange(first, false))
        {
            EXPECT_EQ(manager->addListener(L"A", L"U"), 0);
            EXPECT_EQ(manager->removeListener(L"A", L"T"), 0);
        }
    };
    ASSERT_EQ(manager->setString(L"A", L"K", L"1"), 0);
    ASSERT_EQ(manager->setString(L"A", L"K", L"1"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("T 0 A K ", "U 0 A K "));
}
