// SPDX-License-Identifier: MIT
#include "portinglayer/PString.h"
#include "portinglayer/PUtils.h"
#include "support/AllocationFaults.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <map>
#include <new>

namespace
{
const wchar_t kLong[] = L"a text that is far too long for the buffer of the other one";

class WithoutMemory : public testing::Test
{
protected:
    WithoutMemory() : text(L"old")
    {
    }

    ~WithoutMemory() override
    {
        AllocationFaults::disarm();
    }

    /// Whether iCall throws std::bad_alloc without memory.
    template <class TCall>
    static bool throws(const TCall& iCall)
    {
        bool thrown = false;
        AllocationFaults::failAfter(0);
        try
        {
            iCall();
        }
        catch (const std::bad_alloc&)
        {
            thrown = true;
        }
        AllocationFaults::disarm();
        return thrown;
    }

    PString text;
};

class Allocations : public testing::Test
{
protected:
    template <class TCall>
    static int of(const TCall& iCall)
    {
        AllocationFaults::startCounting();
        iCall();
        return AllocationFaults::counted();
    }
};
} // namespace

TEST_F(WithoutMemory, ReserveLeavesTheTextAsItWas)
{
    AllocationFaults::failAfter(0);
    const int res = text.reserve(100);
    AllocationFaults::disarm();

    EXPECT_EQ(-12, res);
    EXPECT_EQ(PLiteral(L"old"), text);
}

TEST_F(WithoutMemory, CatUsesTheExactSize)
{
    AllocationFaults::failOnceAfter(0);
    const int res = text.cat(L"er");
    AllocationFaults::disarm();

    EXPECT_EQ(0, res);
    EXPECT_EQ(PLiteral(L"older"), text);
}

TEST_F(WithoutMemory, OperatorsThrowAndLeaveTheTextAsItWas)
{
    EXPECT_TRUE(throws([&] { text = kLong; }));
    EXPECT_TRUE(throws([&] { text += kLong; }));
    EXPECT_TRUE(throws([&] { text = PLiteral(kLong); }));
    EXPECT_EQ(PLiteral(L"old"), text);
}

TEST_F(WithoutMemory, ConstructorsThrow)
{
    EXPECT_TRUE(throws([&] { const PString copy(text); }));
    EXPECT_TRUE(throws([&] { const PString copy(L"abc", 2); }));
}

TEST_F(WithoutMemory, KeyValueAllocatesAValueAfterABlankAtOnce)
{
    PString value;

    AllocationFaults::failAfter(1);
    const int res = PUtils::getKeyValue(L"k =ab", text, value, L'=');
    AllocationFaults::disarm();

    EXPECT_EQ(0, res);
    EXPECT_EQ(PLiteral(L"k"), text);
    EXPECT_EQ(PLiteral(L"ab"), value);
}

TEST_F(Allocations, NoneForAssignmentThatFits)
{
    PString text(kLong);
    const PLiteral shorter(L"short");

    EXPECT_EQ(0, of(
                     [&]
                     {
                         text = shorter;
                         text = L"other";
                         text.set(kLong);
                     }));
}

TEST_F(Allocations, NoneForShortStrings)
{
    EXPECT_EQ(0, of(
                     []
                     {
                         PShortString<32> text;
                         text = L"local";
                         text += L" text";
                     }));
}

TEST_F(Allocations, NoneForMoving)
{
    PString source(kLong);
    PString target;

    EXPECT_EQ(0, of([&] { target = std::move(source); }));
}

TEST_F(Allocations, NoneForMapSearchByLiteral)
{
    std::map<PString, int, PLiteralLess> values;
    values[PString(L"key")] = 1;

    EXPECT_EQ(0, of([&] { EXPECT_EQ(1u, values.count(PLiteral(L"key"))); }));
}
