// SPDX-License-Identifier: MIT
#include "config/PConfigRecords.h"
#include "config/PRunTimeValues.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

namespace
{
class RunTimeTables : public testing::Test
{
protected:
    void set(const wchar_t* iID, const wchar_t* iKey, const wchar_t* iValue)
    {
        PConfigValues* table = nullptr;
        ASSERT_EQ(values.nl_findDynamicCfgValues(iID, true, table), 0);
        PConfigRecords::_addNewValue(*table, iKey, iValue);
    }

    int removed(const wchar_t* iID, const wchar_t* iKey, const wchar_t* iAttribute = nullptr)
    {
        const PLiteral attribute(iAttribute ? iAttribute : L"");
        return values.nl_removeSet(iID, iKey, iAttribute ? &attribute : nullptr);
    }

    PRunTimeValues values;
    PConfigValue* record = nullptr;
};
} // namespace

TEST_F(RunTimeTables, UnknownIdHasNoTableUnlessItIsCreated)
{
    PConfigValues* table = nullptr;

    EXPECT_EQ(values.nl_findDynamicCfgValues(L"A", false, table), -504);
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(values.nl_findDynamicCfgValues(L"A", true, table), 0);
    EXPECT_EQ(0u, table->size());
}

TEST_F(RunTimeTables, CreatingFindsAnExistingTable)
{
    PConfigValues* table = nullptr;
    set(L"A", L"k", L"1");

    EXPECT_EQ(values.nl_findDynamicCfgValues(L"A", true, table), 0);
    EXPECT_EQ(table->size(), 1u);
}

TEST_F(RunTimeTables, EachIdHasItsOwnRecords)
{
    PString text;
    set(L"A", L"k", L"1");
    set(L"B", L"k", L"2");

    EXPECT_EQ(values.nl_getDynamicString(L"A", L"k", text), 0);
    EXPECT_EQ(text, L"1");
    EXPECT_EQ(values.nl_getDynamicString(L"B", L"k", text), 0);
    EXPECT_EQ(text, L"2");
}

TEST_F(RunTimeTables, MissingRecordLeavesTheResultAlone)
{
    PString text(L"old");
    set(L"A", L"k", L"1");

    EXPECT_EQ(values.nl_findDynamicValue(L"A", L"l", record), -504);
    EXPECT_EQ(values.nl_findDynamicValue(L"B", L"k", record), -504);
    EXPECT_EQ(values.nl_getDynamicString(L"A", L"l", text), -504);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(text, L"old");
}

TEST_F(RunTimeTables, RemovingAnAttributeKeepsTheKey)
{
    set(L"A", L"k", L"1");
    ASSERT_EQ(values.nl_findDynamicValue(L"A", L"k", record), 0);
    record->fAttributes.add(L"unit", L"s");

    EXPECT_EQ(removed(L"A", L"k", L"unit"), 0);
    EXPECT_EQ(values.nl_findDynamicValue(L"A", L"k", record), 0);
    EXPECT_TRUE(record->fAttributes.empty());
}

TEST_F(RunTimeTables, RemovingTheLastKeyKeepsTheTable)
{
    PConfigValues* table = nullptr;
    set(L"A", L"k", L"1");

    EXPECT_EQ(removed(L"A", L"k"), 0);
    EXPECT_EQ(removed(L"A", L"k"), 0);
    EXPECT_EQ(values.nl_findDynamicCfgValues(L"A", false, table), 0);
    EXPECT_EQ(0u, table->size());
}

TEST_F(RunTimeTables, RemovingFromAnUnknownIdSucceedsAndCreatesNothing)
{
    PConfigValues* table = nullptr;

    EXPECT_EQ(removed(L"A", L"k"), 0);
    EXPECT_EQ(values.nl_findDynamicCfgValues(L"A", false, table), -504);
}
