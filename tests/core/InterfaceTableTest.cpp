// SPDX-License-Identifier: MIT
#include "core/PInterfaceTable.h"

#include "core/PCorePlugin.h"

#include <gtest/gtest.h>

namespace
{
class InterfaceTable : public testing::Test
{
protected:
    PCorePlugin fFirst;
    PCorePlugin fSecond;
    PInterfaceTable fTable;
};

TEST_F(InterfaceTable, FindsTheRecordThatWasAdded)
{
    fTable.add(L"a", fFirst);
    EXPECT_EQ(&fFirst, fTable.find(L"a"));
    EXPECT_EQ(nullptr, fTable.find(L"b"));
}

TEST_F(InterfaceTable, KeepsTheFirstRecordOfAnInterface)
{
    fTable.add(L"a", fFirst);
    fTable.add(L"a", fSecond);
    EXPECT_EQ(&fFirst, fTable.find(L"a"));
}

TEST_F(InterfaceTable, WithdrawsAnInterfaceOnce)
{
    fTable.add(L"a", fFirst);
    fTable.add(L"b", fFirst);
    EXPECT_TRUE(fTable.withdraw(L"a", fFirst));
    EXPECT_FALSE(fTable.withdraw(L"a", fFirst));
    EXPECT_EQ(nullptr, fTable.find(L"a"));
    EXPECT_EQ(&fFirst, fTable.find(L"b"));
}

TEST_F(InterfaceTable, WithdrawsNoInterfaceOfAnotherRecord)
{
    fTable.add(L"a", fFirst);
    EXPECT_FALSE(fTable.withdraw(L"a", fSecond));
    EXPECT_FALSE(fTable.withdraw(L"b", fSecond));
    EXPECT_EQ(&fFirst, fTable.find(L"a"));
}

TEST_F(InterfaceTable, FindsNothingAfterClear)
{
    fTable.add(L"a", fFirst);
    fTable.clear();
    EXPECT_EQ(nullptr, fTable.find(L"a"));
}
} // namespace
