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

    /// Runs iCall without memory and returns its result.
    template <class TCall>
    int run(const TCall& iCall)
    {
        AllocationFaults::failAfter(0);
        const int res = iCall();
        AllocationFaults::disarm();
        EXPECT_TRUE(AllocationFaults::struck());
        return res;
    }

    /// Whether iCall throws std::bad_alloc without memory.
    template <class TCall>
    bool throws(const TCall& iCall)
    {
        return run(
                   [&]
                   {
                       try
                       {
                           iCall();
                       }
                       catch (const std::bad_alloc&)
                       {
                           return 1;
                       }
                       return 0;
                   }) == 1;
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

TEST_F(WithoutMemory, SetLeavesTheTextAsItWas)
{
    EXPECT_EQ(-12, run([&] { return text.set(kLong); }));
    EXPECT_EQ(PLiteral(L"old"), text);
}

TEST_F(WithoutMemory, CatLeavesTheTextAsItWas)
{
    EXPECT_EQ(-12, run([&] { return text.cat(kLong); }));
    EXPECT_EQ(PLiteral(L"old"), text);
}

TEST_F(WithoutMemory, ReserveLeavesTheTextAsItWas)
{
    EXPECT_EQ(-12, run([&] { return text.reserve(100); }));
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

TEST_F(WithoutMemory, NextTokenLeavesBothTextsAsTheyWere)
{
    PString list(L" a token that needs room, next");

    EXPECT_EQ(-12, run([&] { return PLiteral::getNextToken(list, text, L','); }));
    EXPECT_EQ(PLiteral(L" a token that needs room, next"), list);
    EXPECT_EQ(PLiteral(L"old"), text);
}

TEST_F(WithoutMemory, KeyValueLeavesBothTextsAsTheyWere)
{
    PString value(L"v");
    const auto split = [&]
    {
        return PUtils::getKeyValue(L"a long key = a long value", text, value, L'=');
    };

    EXPECT_EQ(-12, run(split));
    AllocationFaults::failAfter(1);
    EXPECT_EQ(-12, split());
    AllocationFaults::disarm();
    EXPECT_EQ(PLiteral(L"old"), text);
    EXPECT_EQ(PLiteral(L"v"), value);
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

TEST_F(WithoutMemory, ConversionsReportIt)
{
    const unsigned char bytes[] = {1, 2, 3};
    unsigned char* data = nullptr;
    unsigned int size = 7;

    EXPECT_EQ(-12, run([&] { return PUtils::int32ToStr(-123456, text); }));
    EXPECT_EQ(-12, run([&] { return PUtils::boolToStr(false, text); }));
    EXPECT_EQ(-12, run([&] { return PUtils::binaryToStr(bytes, 3, text); }));
    EXPECT_EQ(-12, run([&] { return PUtils::strToBinary(L"0a", data, size); }));
    EXPECT_EQ(-12, run([&] { return PUtils::pformatString(text, L"%ls", kLong); }));
    EXPECT_EQ(PLiteral(L"old"), text);
    EXPECT_EQ(nullptr, data);
    EXPECT_EQ(7u, size);
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
