// SPDX-License-Identifier: MIT
#include "config/PConfigListeners.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
class ConfigTopics : public testing::Test
{
protected:
    /// What a set of the key "k" of an ID announces.
    PConfigListeners::Change changeOf(const wchar_t* iID) const
    {
        PConfigListeners::Change change;
        listeners.nl_prepareChange(IConfigChanged::eAttributeSet, iID, L"k", L"unit", change);
        return change;
    }

    PConfigListeners listeners;
};
} // namespace

TEST_F(ConfigTopics, IdWithoutTopicsHasNothingToAnnounce)
{
    listeners.nl_addListener(L"A", L"t");

    EXPECT_TRUE(changeOf(L"B").topics.empty());
    EXPECT_FALSE(changeOf(L"B").event);
}

TEST_F(ConfigTopics, ChangeHasTheTopicsInTheOrderOfRegistration)
{
    EXPECT_EQ(listeners.nl_addListener(L"A", L"t2"), 0);
    EXPECT_EQ(listeners.nl_addListener(L"A", L"t1"), 0);
    EXPECT_EQ(listeners.nl_addListener(L"A", L"t2"), -512);

    EXPECT_THAT(narrow(changeOf(L"A").topics), ElementsAre("t2", "t1"));
}

TEST_F(ConfigTopics, ChangeNamesTheIdTheKeyAndTheAttribute)
{
    listeners.nl_addListener(L"A", L"t");
    const PConfigListeners::Change change = changeOf(L"A");
    PString id;
    PString key;
    PString attribute;

    ASSERT_TRUE(change.event);
    EXPECT_EQ(change.event->getType(), IConfigChanged::eAttributeSet);
    EXPECT_EQ(change.event->getID(id), 0);
    EXPECT_EQ(change.event->getKey(key), 0);
    EXPECT_EQ(change.event->getAttribute(attribute), 0);
    EXPECT_EQ(id, L"A");
    EXPECT_EQ(key, L"k");
    EXPECT_EQ(attribute, L"unit");
}

TEST_F(ConfigTopics, PreparedChangeIsNotAffectedByARemoval)
{
    listeners.nl_addListener(L"A", L"t");
    const PConfigListeners::Change change = changeOf(L"A");
    EXPECT_EQ(listeners.nl_removeListener(L"A", L"t"), 0);

    EXPECT_THAT(narrow(change.topics), ElementsAre("t"));
    EXPECT_TRUE(changeOf(L"A").topics.empty());
    EXPECT_EQ(listeners.nl_removeListener(L"A", L"t"), -504);
}

TEST_F(ConfigTopics, WithoutACoreNothingIsSent)
{
    listeners.nl_addListener(L"A", L"t");

    EXPECT_NO_THROW(PConfigListeners::_announce(changeOf(L"A")));
    EXPECT_NO_THROW(PConfigListeners::_announce(changeOf(L"B")));
}
