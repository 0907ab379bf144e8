// SPDX-License-Identifier: MIT
#include "portinglayer/PLiteral.h"
#include "portinglayer/PString.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <map>

namespace
{
std::vector<std::string> tokensOf(const wchar_t* iList, wchar_t iSeparator)
{
    PString list(iList);
    PString token;
    std::vector<std::string> result;
    while (PLiteral::getNextToken(list, token, iSeparator) == 0)
    {
        result.push_back(narrow(token));
    }
    return result;
}

using Tokens = std::vector<std::string>;
} // namespace

TEST(Literal, ViewsTheTextWithoutCopying)
{
    const wchar_t text[] = L"key";
    const PLiteral literal(text);

    EXPECT_EQ(text, literal.ptr());
    EXPECT_EQ(text, static_cast<const wchar_t*>(literal));
    EXPECT_EQ(3u, literal.len());
}

TEST(Literal, DefaultAndNullAreTheEmptyText)
{
    PLiteral literal(L"x");
    literal = static_cast<const wchar_t*>(nullptr);

    EXPECT_EQ(0u, literal.len());
    EXPECT_EQ(L'\0', *literal.ptr());
    EXPECT_EQ(PLiteral(), PLiteral(static_cast<const wchar_t*>(nullptr)));
}

TEST(Literal, AssignmentReplacesTheView)
{
    PLiteral literal(L"one");
    literal = L"three";

    EXPECT_EQ(5u, literal.len());
    EXPECT_EQ(PLiteral(L"three"), literal);
}

TEST(Literal, ComparesByCharacterCode)
{
    EXPECT_EQ(0, PLiteral(L"abc").cmp(L"abc"));
    EXPECT_LT(PLiteral(L"ab").cmp(L"abc"), 0);
    EXPECT_GT(PLiteral(L"b").cmp(L"abc"), 0);
    EXPECT_LT(PLiteral(L"B").cmp(L"a"), 0);
    EXPECT_LT(PLiteral(L"").cmp(L"a"), 0);
    EXPECT_LT(PLiteral(L"z").cmp(L"\u00e9"), 0);
    EXPECT_LT(PLiteral(L"\uffff").cmp(L"\U00010000"), 0);
}

TEST(Literal, ComparesGivenNumberOfCharacters)
{
    EXPECT_EQ(0, PLiteral(L"abc").cmp(L"abcdef", 3));
    EXPECT_GT(PLiteral(L"abc").cmp(L"abcdef", 2), 0);
    EXPECT_EQ(0, PLiteral(L"abc").cmp(L"abc", ~0u));
    EXPECT_EQ(0, PLiteral(L"").cmp(nullptr, ~0u));
}

TEST(Literal, EqualityIsExactAndCaseSensitive)
{
    EXPECT_TRUE(PLiteral(L"key") == PLiteral(L"key"));
    EXPECT_TRUE(PLiteral(L"key") == L"key");
    EXPECT_TRUE(PLiteral(L"key") != PLiteral(L"Key"));
    EXPECT_TRUE(PLiteral(L"key") != L"keys");
}

TEST(Literal, ZeroCharactersCount)
{
    const PString left(L"a\0b", 3);
    const PString right(L"a\0c", 3);

    EXPECT_FALSE(left == right);
    EXPECT_TRUE(left < right);
    EXPECT_GT(left.cmp(L"a"), 0);
}

TEST(Literal, EndsWithSuffix)
{
    const PLiteral name(L"libone.so");

    EXPECT_TRUE(name.endsWith(L".so"));
    EXPECT_TRUE(name.endsWith(L".so.1", 3, false));
    EXPECT_TRUE(name.endsWith(L""));
    EXPECT_TRUE(name.endsWith(L"libone.so"));
    EXPECT_FALSE(name.endsWith(L".SO"));
    EXPECT_FALSE(name.endsWith(L"xlibone.so"));
    EXPECT_TRUE(name.endsWith(L".SO", ~0u, true));
}

TEST(Literal, StartsWithPrefix)
{
    const PLiteral key(L"core.plugins.log.dir");

    EXPECT_TRUE(key.startsWith(L"core.plugins.log."));
    EXPECT_TRUE(key.startsWith(L"core!", 4));
    EXPECT_TRUE(key.startsWith(L"CORE", ~0u, true));
    EXPECT_FALSE(key.startsWith(L"CORE"));
    EXPECT_FALSE(PLiteral(L"co").startsWith(L"core"));
}

TEST(Literal, IgnoringCaseFoldsOnlyLatinLetters)
{
    EXPECT_FALSE(PLiteral(L"\u00c9").startsWith(L"\u00e9", ~0u, true));
    EXPECT_FALSE(PLiteral(L"@").startsWith(L"`", ~0u, true));
    EXPECT_TRUE(PLiteral(L"azAZ").startsWith(L"AZaz", ~0u, true));
}

TEST(Literal, FindsCharacterFromEitherEnd)
{
    unsigned int pos = 99;

    EXPECT_TRUE(PLiteral(L"a:b:c").chr(L':', pos));
    EXPECT_EQ(1u, pos);
    EXPECT_TRUE(PLiteral(L"a:b:c").chr(L':', pos, true));
    EXPECT_EQ(3u, pos);
    EXPECT_TRUE(PLiteral(L"abC").chr(L'c', pos, false, true));
    EXPECT_EQ(2u, pos);
}

TEST(Literal, PositionStaysWhenNothingIsFound)
{
    unsigned int pos = 99;

    EXPECT_FALSE(PLiteral(L"abc").chr(L'x', pos));
    EXPECT_FALSE(PLiteral(L"abC").chr(L'c', pos));
    EXPECT_FALSE(PLiteral(L"").chr(L'c', pos, true));
    EXPECT_FALSE(PLiteral(L"abc").str(L"bd", pos));
    EXPECT_FALSE(PLiteral(L"abc").str(L"abcd", pos, true));
    EXPECT_EQ(99u, pos);
}

TEST(Literal, FindsTextFromEitherEnd)
{
    unsigned int pos = 99;

    EXPECT_TRUE(PLiteral(L"abcabc").str(L"bc", pos));
    EXPECT_EQ(1u, pos);
    EXPECT_TRUE(PLiteral(L"abcabc").str(L"bc", pos, true));
    EXPECT_EQ(4u, pos);
    EXPECT_TRUE(PLiteral(L"abcaBC").str(L"Bc", pos, true, true));
    EXPECT_EQ(4u, pos);
    EXPECT_TRUE(PLiteral(L"aab").str(L"ab", pos));
    EXPECT_EQ(1u, pos);
}

TEST(Literal, EmptyTextIsFoundNowhere)
{
    unsigned int pos = 99;

    EXPECT_FALSE(PLiteral(L"abc").str(L"", pos));
    EXPECT_FALSE(PLiteral(L"").str(L"", pos, true));
    EXPECT_EQ(99u, pos);
}

TEST(LiteralTokens, AreRemovedFromTheFront)
{
    PString list(L"one,two");
    PString token;

    EXPECT_EQ(0, PLiteral::getNextToken(list, token, L','));
    EXPECT_EQ(PLiteral(L"one"), token);
    EXPECT_EQ(PLiteral(L"two"), list);
}

TEST(LiteralTokens, AreTrimmed)
{
    EXPECT_EQ((Tokens{"one", "two words", "three"}),
              tokensOf(L" one ,\ttwo words\r\n,three", L','));
}

TEST(LiteralTokens, EmptyOnesAreSkipped)
{
    EXPECT_EQ((Tokens{"a", "b"}), tokensOf(L",, a,  ,b, ,", L','));
    EXPECT_EQ(Tokens{}, tokensOf(L" , ,", L','));
    EXPECT_EQ(Tokens{}, tokensOf(L"", L','));
}

TEST(LiteralTokens, EndLeavesTheTokenAndEmptiesTheList)
{
    PString list(L" , ");
    PString token(L"last");

    EXPECT_EQ(-61, PLiteral::getNextToken(list, token, L','));
    EXPECT_EQ(PLiteral(L"last"), token);
    EXPECT_EQ(0u, list.len());
}

TEST(LiteralTokens, OtherSeparatorsWork)
{
    EXPECT_EQ((Tokens{"a,b", "c"}), tokensOf(L"a,b;c", L';'));
    EXPECT_EQ((Tokens{"a", "b"}), tokensOf(L"a  b", L' '));
}

TEST(LiteralLess, SearchesAMapOfStringsByLiteral)
{
    std::map<PString, int, PLiteralLess> values;
    values[PString(L"b")] = 2;
    values[PString(L"a")] = 1;

    EXPECT_EQ(2, values.find(PLiteral(L"b"))->second);
    EXPECT_EQ(values.end(), values.find(PLiteral(L"c")));
    EXPECT_EQ(PLiteral(L"a"), values.begin()->first);
}
