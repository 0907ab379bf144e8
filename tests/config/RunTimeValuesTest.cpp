// SPDX-License-Identifier: MIT
#include "config/ConfigEventsTest.h"
#include "config/ConfigTest.h"

#include "Ixla.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <thread>
#include <utility>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
typedef ConfigTest RunTimeValues;

class RunTimeEvents : public ConfigEventsTest
{
protected:
    RunTimeEvents()
    {
        announce(L"A", L"topic");
        listen(L"topic");
    }
};
} // namespace

TEST_F(RunTimeValues, SecondSetKeepsTheFirstText)
{
    set("A", "K", "1");
    set("A", "K", "2");

    EXPECT_EQ(dynamicOf(manager, "A", "K"), "1");
}

TEST_F(RunTimeValues, SecondSetKeepsTheAttributes)
{
    const PBaseptr<IConfig> config = loadID("A");
    set("A", "K", "1");
    setAttr("A", "K", "unit", "s");
    set("A", "K", "2");

    EXPECT_EQ(attrOf(config, "K", "unit"), "s");
}

TEST_F(RunTimeValues, RemovedValueCanBeSetAgain)
{
    set("A", "K", "1");
    EXPECT_EQ(manager.removeSetKey(L"A", L"K"), 0);
    set("A", "K", "2");

    EXPECT_EQ(dynamicOf(manager, "A", "K"), "2");
}

TEST_F(RunTimeValues, AttributeNeedsAValue)
{
    EXPECT_EQ(manager.setAttrString(L"A", L"K", L"unit", L"s"), -3002);
    EXPECT_EQ(manager.removeSetKey(L"A", L"K"), 0);
    EXPECT_EQ(dynamicOf(manager, "A", "K"), "<-504>");
}

TEST_F(RunTimeValues, SecondAttributeTextIsIgnored)
{
    const PBaseptr<IConfig> config = loadID("A");
    set("A", "K", "1");
    setAttr("A", "K", "unit", "s");
    setAttr("A", "K", "unit", "ms");

    EXPECT_EQ(attrOf(config, "K", "unit"), "s");
}

TEST_F(RunTimeValues, RemovingAnUnknownEntrySucceeds)
{
    set("A", "K", "1");

    EXPECT_EQ(manager.removeSetKey(L"B", L"K"), 0);
    EXPECT_EQ(manager.removeSetKey(L"A", L"L"), 0);
    EXPECT_EQ(manager.removeSetAttr(L"B", L"K", L"unit"), 0);
    EXPECT_EQ(manager.removeSetAttr(L"A", L"L", L"unit"), 0);
    EXPECT_EQ(manager.removeSetAttr(L"A", L"K", L"unit"), 0);
    EXPECT_EQ(dynamicOf(manager, "A", "K"), "1");
}

TEST_F(RunTimeValues, RemovedAttributeRevealsThatOfTheFile)
{
    const PBaseptr<IConfig> config = loadID("A", "K = 0\nK:unit = h");
    set("A", "K", "1");
    setAttr("A", "K", "unit", "s");
    EXPECT_EQ(attrOf(config, "K", "unit"), "s");

    EXPECT_EQ(manager.removeSetAttr(L"A", L"K", L"unit"), 0);
    EXPECT_EQ(attrOf(config, "K", "unit"), "h");
    EXPECT_EQ(valueOf(config, "K"), "1");
}

TEST_F(RunTimeValues, NamesWithSeparatorsAreRefused)
{
    EXPECT_EQ(manager.setString(L"A", L"a=b", L"1"), -3004);
    EXPECT_EQ(manager.setString(L"A:", L"K", L"1"), -3004);
    EXPECT_EQ(manager.setAttrString(L"A", L"K", L"a|b", L"1"), -3004);
    EXPECT_EQ(manager.removeSetKey(L"A", L"a:b"), -3004);
    EXPECT_EQ(manager.removeSetAttr(L"A", L"K", L"a=b"), -3004);
}

TEST_F(RunTimeValues, ValueIsSetWithoutADispatcher)
{
    ASSERT_EQ(manager.addListener(L"A", L"topic"), 0);

    EXPECT_EQ(manager.setString(L"A", L"K", L"1"), 0);
    EXPECT_EQ(dynamicOf(manager, "A", "K"), "1");
    EXPECT_EQ(manager.setAttrString(L"A", L"K", L"unit", L"s"), 0);
}

TEST_F(RunTimeValues, RemovedKeyIsNotFoundThoughItsIdIsKnown)
{
    set("A", "K", "1");
    set("A", "L", "2");
    ASSERT_EQ(manager.removeSetKey(L"A", L"K"), 0);

    EXPECT_EQ(dynamicOf(manager, "A", "K"), "<-504>");
    EXPECT_EQ(dynamicOf(manager, "A", "L"), "2");
    ASSERT_EQ(manager.removeSetKey(L"A", L"L"), 0);
    EXPECT_EQ(dynamicOf(manager, "A", "L"), "<-504>");
}

TEST_F(RunTimeValues, UnknownIdIsNotFound)
{
    PConfigValue* record = nullptr;

    EXPECT_EQ(dynamicOf(manager, "B", "K"), "<-504>");
    EXPECT_EQ(manager.findDynamicValue(L"B", L"K", record), -504);
    EXPECT_EQ(record, nullptr);
}

TEST_F(RunTimeValues, SetOnlyKeyIsReadableButNotListed)
{
    const PBaseptr<IConfig> config = loadID("A");
    std::vector<PString> attributes;
    set("A", "K", "1");

    EXPECT_EQ(valueOf(config, "K"), "1");
    EXPECT_THAT(keysOf(config), IsEmpty());
    EXPECT_EQ(config->getAttributes(L"K", attributes), -504);
}

TEST_F(RunTimeValues, IdsAreSeparateAndExact)
{
    set("A", "K", "1");

    EXPECT_EQ(dynamicOf(manager, "a", "K"), "<-504>");
    EXPECT_EQ(dynamicOf(manager, "A", "k"), "<-504>");
}

TEST_F(RunTimeValues, NewRecordHasNoAttributesAndNoPin)
{
    set("A", "K", "1");
    PConfigValue* record = nullptr;
    ASSERT_EQ(manager.findDynamicValue(L"A", L"K", record), 0);

    EXPECT_TRUE(record->fAttributes.empty());
    EXPECT_FALSE(record->fAttributes.isPinned());
}

TEST_F(RunTimeEvents, EverySetIsAnnouncedAlsoOneThatChangesNothing)
{
    EXPECT_EQ(manager->setString(L"A", L"K", L"1"), 0);
    EXPECT_EQ(manager->setString(L"A", L"K", L"2"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("topic 0 A K ", "topic 0 A K "));
}

TEST_F(RunTimeEvents, RemovalsAreSilent)
{
    EXPECT_EQ(manager->removeSetKey(L"A", L"K"), 0);
    EXPECT_EQ(manager->removeSetAttr(L"A", L"K", L"unit"), 0);
    EXPECT_EQ(manager->setString(L"A", L"K", L"1"), 0);
    EXPECT_EQ(manager->removeSetAttr(L"A", L"K", L"unit"), 0);
    EXPECT_EQ(manager->removeSetKey(L"A", L"K"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("topic 0 A K "));
}

TEST_F(RunTimeEvents, RefusalsAreSilent)
{
    EXPECT_EQ(manager->setString(L"A", L"a=b", L"1"), -3004);
    EXPECT_EQ(manager->setAttrString(L"A", L"K", L"a|b", L"1"), -3004);
    EXPECT_EQ(manager->setAttrString(L"A", L"K", L"unit", L"s"), -3002);

    EXPECT_THAT(recorder->events(), IsEmpty());
}

TEST_F(RunTimeEvents, FailedConversionIsSilent)
{
    EXPECT_EQ(manager->setBinary(L"A", L"K", nullptr, 1), -22);

    EXPECT_THAT(recorder->events(), IsEmpty());
}

TEST_F(RunTimeEvents, TopicsOfAnIdFollowTheirRegistration)
{
    announce(L"A", L"another");
    announce(L"B", L"foreign");
    listen(L"another");
    listen(L"foreign");
    EXPECT_EQ(manager->setString(L"A", L"K", L"1"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("topic 0 A K ", "another 0 A K "));
}

TEST_F(RunTimeEvents, TopicWithoutListenersDoesNotAffectTheOthers)
{
    announce(L"B", L"nobody");
    announce(L"B", L"topic");
    EXPECT_EQ(manager->setString(L"B", L"K", L"1"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("topic 0 B K "));
}

TEST_F(RunTimeEvents, ListenerMaySetReadAndRegister)
{
    bool first = true;
    recorder->onEvent = [&](IConfigChanged&)
    {
        if (!std::exchange(first, false))
        {
            return;
        }
        EXPECT_EQ(manager->setString(L"A", L"inner", L"2"), 0);
        EXPECT_EQ(manager->addListener(L"A", L"later"), 0);
        EXPECT_EQ(manager->removeSetKey(L"A", L"K"), 0);
    };
    listen(L"later");
    EXPECT_EQ(manager->setString(L"A", L"K", L"1"), 0);
    EXPECT_EQ(manager->setString(L"A", L"last", L"3"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("topic 0 A K ", "topic 0 A inner ",
                                                "topic 0 A last ", "later 0 A last "));
}

TEST_F(RunTimeEvents, OtherThreadsMaySetWhileAListenerRuns)
{
    recorder->onEvent = [&](IConfigChanged&)
    {
        std::thread other([&] { EXPECT_EQ(manager->setString(L"B", L"K", L"2"), 0); });
        other.join();
    };
    EXPECT_EQ(manager->setString(L"A", L"K", L"1"), 0);

    EXPECT_THAT(recorder->events(), ElementsAre("topic 0 A K "));
}

TEST_F(RunTimeEvents, ValueIsReadableWhileItIsAnnounced)
{
    PBaseptr<IConfig> config;
    ASSERT_EQ(manager->loadByID(L"A", config), 0);
    std::string seen;
    recorder->onEvent = [&](IConfigChanged&)
    {
        seen = valueOf(config, "K");
    };
    EXPECT_EQ(manager->setString(L"A", L"K", L"1"), 0);

    EXPECT_EQ(seen, "1");
}
