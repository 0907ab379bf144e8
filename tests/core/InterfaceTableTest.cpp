// SPDX-License-Identifier: MIT
#include "core/PInterfaceTable.h"

#include "core/PCorePlugin.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{
class InterfaceTable : public testing::Test
{
protected:
    /// Adds a copy of the ID, which lives as long as the table.
    void add(const PString& iId, PCorePlugin& iRecord)
    {
        fIDs.push_back(std::make_unique<PString>(iId));
        fTable.reserve(1);
        fTable.add(*fIDs.back(), iRecord);
    }

    std::vector<std::unique_ptr<PString>> fIDs;
    PCorePlugin fFirst;
    PCorePlugin fSecond;
    PInterfaceTable fTable;
};

TEST_F(InterfaceTable, FindsTheRecordThatWasAdded)
{
    add(L"a", fFirst);
    EXPECT_EQ(&fFirst, fTable.find(L"a"));
    EXPECT_EQ(nullptr, fTable.find(L"b"));
}

TEST_F(InterfaceTable, KeepsTheFirstRecordOfAnInterface)
{
    add(L"a", fFirst);
    add(L"a", fSecond);
    EXPECT_EQ(&fFirst, fTable.find(L"a"));
}

TEST_F(InterfaceTable, WithdrawsAnInterfaceOnce)
{
    add(L"a", fFirst);
    add(L"b", fFirst);
    EXPECT_TRUE(fTable.withdraw(L"a", fFirst));
    EXPECT_FALSE(fTable.withdraw(L"a", fFirst));
    EXPECT_EQ(nullptr, fTable.find(L"a"));
    EXPECT_EQ(&fFirst, fTable.find(L"b"));
}

TEST_F(InterfaceTable, WithdrawsNoInterfaceOfAnotherRecord)
{
    add(L"a", fFirst);
    EXPECT_FALSE(fTable.withdraw(L"a", fSecond));
    EXPECT_FALSE(fTable.withdraw(L"b", fSecond));
    EXPECT_EQ(&fFirst, fTable.find(L"a"));
}

TEST_F(InterfaceTable, TakesAnInterfaceThatWasWithdrawn)
{
    add(L"a", fFirst);
    EXPECT_TRUE(fTable.withdraw(L"a", fFirst));
    add(L"a", fSecond);
    EXPECT_EQ(&fSecond, fTable.find(L"a"));
}

TEST_F(InterfaceTable, ComparesWholeTexts)
{
    const PString one(L"a\0b", 3);
    const PString other(L"a\0c", 3);
    add(one, fFirst);
    add(other, fSecond);
    EXPECT_EQ(&fFirst, fTable.find(one));
    EXPECT_EQ(&fSecond, fTable.find(other));
    EXPECT_EQ(nullptr, fTable.find(L"a"));
}

TEST_F(InterfaceTable, FindsAllOfManyInterfaces)
{
    std::vector<PString> ids;
    ids.reserve(5000);
    for (int i = 0; i < 5000; ++i)
    {
        ids.emplace_back(std::to_wstring(i).c_str());
    }
    for (const PString& id : ids)
    {
        add(id, id.len() % 2 == 0 ? fFirst : fSecond);
    }
    for (const PString& id : ids)
    {
        EXPECT_EQ(id.len() % 2 == 0 ? &fFirst : &fSecond, fTable.find(id)) << id.ptr();
    }
    EXPECT_EQ(nullptr, fTable.find(L"5000"));
}

TEST_F(InterfaceTable, EmptyTableFindsAndWithdrawsNothing)
{
    EXPECT_EQ(nullptr, fTable.find(L"a"));
    EXPECT_FALSE(fTable.withdraw(L"a", fFirst));
}

TEST_F(InterfaceTable, FindsNothingAfterClear)
{
    add(L"a", fFirst);
    fTable.clear();
    EXPECT_EQ(nullptr, fTable.find(L"a"));
}
} // namespace
