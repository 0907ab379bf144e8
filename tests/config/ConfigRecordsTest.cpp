// SPDX-License-Identifier: MIT
#include "config/PConfigRecords.h"

#include <gtest/gtest.h>

TEST(ConfigRecords, RemovingAMissingEntrySucceeds)
{
    PConfigValues values;
    ASSERT_EQ(PConfigRecords::_addValue(values, L"a", L"1"), 0);

    EXPECT_EQ(PConfigRecords::_removeKey(values, L"b"), 0);
    EXPECT_EQ(PConfigRecords::_removeAttr(values, L"b", L"x"), 0);
    EXPECT_EQ(PConfigRecords::_removeAttr(values, L"a", L"x"), 0);
    EXPECT_EQ(values.size(), 1u);
}

TEST(ConfigRecords, RemovingAKeyRemovesItsAttributes)
{
    PConfigValues values;
    ASSERT_EQ(PConfigRecords::_addValue(values, L"a", L"1"), 0);
    ASSERT_EQ(PConfigRecords::_addAttrValue(values, L"a", L"x", L"2"), 0);
    ASSERT_EQ(PConfigRecords::_removeKey(values, L"a"), 0);
    ASSERT_EQ(PConfigRecords::_addValue(values, L"a", L"3"), 0);

    EXPECT_TRUE(values.find(L"a")->fAttributes.empty());
}

TEST(ConfigRecords, RemovingAnAttributeKeepsTheRestOfTheRecord)
{
    PConfigValues values;
    ASSERT_EQ(PConfigRecords::_addValue(values, L"a", L"1"), 0);
    ASSERT_EQ(PConfigRecords::_addAttrValue(values, L"a", L"x", L"2"), 0);
    ASSERT_EQ(PConfigRecords::_addAttrValue(values, L"a", L"y", L"3"), 0);
    values.find(L"a")->fAttributes.markPinned();
    ASSERT_EQ(PConfigRecords::_removeAttr(values, L"a", L"x"), 0);

    const PConfigValue& record = *values.find(L"a");
    EXPECT_EQ(record.fValue, L"1");
    EXPECT_TRUE(record.fAttributes.isPinned());
    EXPECT_EQ(record.fAttributes.all().size(), 1u);
    EXPECT_NE(record.fAttributes.find(L"y"), nullptr);
}

TEST(ConfigRecords, ReplacingAValueKeepsAttributesAndPin)
{
    PConfigValues values;
    ASSERT_EQ(PConfigRecords::_addAttrValue(values, L"a", L"x", L"2"), 0);
    values.find(L"a")->fAttributes.markPinned();
    ASSERT_EQ(PConfigRecords::_addValue(values, L"a", L"1"), 0);

    const PConfigValue& record = *values.find(L"a");
    EXPECT_EQ(record.fValue, L"1");
    EXPECT_TRUE(record.fAttributes.isPinned());
    EXPECT_EQ(record.fAttributes.all().size(), 1u);
}

TEST(ConfigRecords, AddingANewValueDoesNotChangeAnExistingKey)
{
    PConfigValues values;
    PConfigRecords::_addNewValue(values, L"a", L"1");
    PConfigRecords::_addNewValue(values, L"a", L"2");

    EXPECT_EQ(values.find(L"a")->fValue, L"1");
}

TEST(ConfigRecords, AttributeKeepsItsFirstText)
{
    PConfigValues values;
    ASSERT_EQ(PConfigRecords::_addAttrValue(values, L"a", L"x", L"1"), 0);
    ASSERT_EQ(PConfigRecords::_addAttrValue(values, L"a", L"x", L"2"), 0);

    EXPECT_EQ(*values.find(L"a")->fAttributes.find(L"x"), L"1");
}

TEST(ConfigRecords, RemoveWithoutAttributeRemovesTheKey)
{
    const PLiteral attribute(L"x");
    PConfigValues values;
    ASSERT_EQ(PConfigRecords::_addAttrValue(values, L"a", L"x", L"1"), 0);

    EXPECT_EQ(PConfigRecords::_remove(values, L"a", &attribute), 0);
    EXPECT_TRUE(values.find(L"a")->fAttributes.empty());
    EXPECT_EQ(PConfigRecords::_remove(values, L"a", nullptr), 0);
    EXPECT_EQ(0u, values.size());
}
