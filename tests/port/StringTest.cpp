// SPDX-License-Identifier: MIT
#include "portinglayer/PString.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace
{
const wchar_t kLong[] = L"a text that is far too long for a small buffer";

std::wstring content(const PLiteral& iText)
{
    EXPECT_EQ(L'\0', iText.ptr()[iText.len()]);
    return std::wstring(iText.ptr(), iText.len());
}
} // namespace

TEST(String, IsEmptyByDefault)
{
    const PString text;

    EXPECT_EQ(0u, text.len());
    EXPECT_EQ(L"", content(text));
}

TEST(String, CopiesItsSource)
{
    wchar_t source[] = L"abc";
    const PString text{PLiteral(source)};
    source[0] = L'x';

    EXPECT_EQ(L"abc", content(text));
}

TEST(String, TakesTheGivenNumberOfCharacters)
{
    EXPECT_EQ(L"ab", content(PString(L"abc", 2)));
    EXPECT_EQ(L"abc", content(PString(L"abc", ~0u)));
    EXPECT_EQ(L"", content(PString(L"abc", 0)));
    EXPECT_EQ(std::wstring(L"a\0b", 3), content(PString(L"a\0b", 3)));
}

TEST(String, NullSourceIsEmpty)
{
    PString text(L"x");

    EXPECT_EQ(0, text.set(static_cast<const wchar_t*>(nullptr), 5));
    EXPECT_EQ(L"", content(text));
    EXPECT_EQ(0, text.cat(static_cast<const wchar_t*>(nullptr), 5));
    EXPECT_EQ(L"", content(PString(static_cast<const wchar_t*>(nullptr), 7)));
}

TEST(String, SetFromLiteralStopsAtItsEnd)
{
    PString text;

    EXPECT_EQ(0, text.set(PLiteral(L"abc"), 10));
    EXPECT_EQ(L"abc", content(text));
    EXPECT_EQ(0, text.set(PLiteral(L"abc"), 1));
    EXPECT_EQ(L"a", content(text));
}

TEST(String, AssignmentKeepsALargeEnoughBuffer)
{
    PString text(kLong);
    const wchar_t* const buffer = text.ptr();

    text = L"short";
    EXPECT_EQ(buffer, text.ptr());
    text = PLiteral(L"other");
    EXPECT_EQ(buffer, text.ptr());
    text.clear();
    text = PString(kLong, 20);
    EXPECT_EQ(20u, text.len());
    EXPECT_EQ(0, text.set(kLong));
    EXPECT_EQ(kLong, content(text));
}

TEST(String, AppendsTexts)
{
    PString text(L"a");

    EXPECT_EQ(0, text.cat(PLiteral(L"b")));
    EXPECT_EQ(0, text.cat(L"cxx", 1));
    text += L"d";
    text += PString(L"e");
    EXPECT_EQ(L"abcde", content(text));
}

TEST(String, ManyAppendsReallocateRarely)
{
    PString text;
    int moves = 0;
    for (int i = 0; i < 10000; ++i)
    {
        const wchar_t* const before = text.ptr();
        text += L"x";
        moves += before != text.ptr();
    }

    EXPECT_EQ(10000u, text.len());
    EXPECT_LT(moves, 40);
}

TEST(String, SelfAssignmentChangesNothing)
{
    PString text(L"abc");
    PString& same = text;

    text = same;
    EXPECT_EQ(L"abc", content(text));
    text = std::move(same);
    EXPECT_EQ(L"abc", content(text));
}

TEST(String, SourceMayBePartOfTheText)
{
    PString text(L"0123456789");

    EXPECT_EQ(0, text.set(text.ptr() + 2, 5));
    EXPECT_EQ(L"23456", content(text));
    text = text.ptr() + 3;
    EXPECT_EQ(L"56", content(text));
}

TEST(String, AppendsItselfWhileGrowing)
{
    PString text(L"ab");
    for (int i = 0; i < 6; ++i)
    {
        text += text;
    }

    std::wstring expected;
    for (int i = 0; i < 64; ++i)
    {
        expected += L"ab";
    }
    EXPECT_EQ(expected, content(text));
}

TEST(String, AppendsItsOwnTail)
{
    PString text(L"abc");

    EXPECT_EQ(0, text.cat(text.ptr() + 1));
    EXPECT_EQ(L"abcbc", content(text));
}

TEST(String, MoveTakesTheBuffer)
{
    PString source(kLong);
    const wchar_t* const buffer = source.ptr();
    const PString target(std::move(source));

    EXPECT_EQ(buffer, target.ptr());
    // cppcheck-suppress accessMoved ; a moved-from text is empty
    EXPECT_EQ(L"", content(source)); // NOLINT(bugprone-use-after-move): a moved-from text is empty
}

TEST(String, MoveAssignmentLeavesAUsableSource)
{
    PString source(kLong);
    PString target(L"old");
    target = std::move(source);
    source = L"again";

    EXPECT_EQ(kLong, content(target));
    EXPECT_EQ(L"again", content(source));
}

TEST(String, ReserveKeepsContentAndMakesRoom)
{
    PString text(L"abc");

    EXPECT_EQ(0, text.reserve(100));
    const wchar_t* const buffer = text.ptr();
    EXPECT_EQ(L"abc", content(text));
    EXPECT_EQ(0, text.set(kLong));
    EXPECT_EQ(buffer, text.ptr());
}

TEST(String, LengthsBeyondAnyMemoryAreRefused)
{
    PString text(L"abc");

    EXPECT_EQ(-12, text.reserve(~0u));
    EXPECT_EQ(-12, text.reserve(0x7FFFFFFFu));
    EXPECT_EQ(-12, text.set(L"x", 0xFFFFFFFEu));
    EXPECT_EQ(-12, text.cat(L"x", 0xFFFFFFFEu));
    EXPECT_EQ(L"abc", content(text));
}

TEST(String, TrimRemovesWhiteSpaceAtBothEnds)
{
    PString text(L" \t\n\v\f\r a b \t\n\v\f\r ");
    text.trim();

    EXPECT_EQ(L"a b", content(text));
}

TEST(String, TrimEmptiesBlankText)
{
    PString text(L" \t ");
    text.trim();
    PString empty;
    empty.trim();

    EXPECT_EQ(L"", content(text));
    EXPECT_EQ(L"", content(empty));
}

TEST(String, TrimKeepsOtherBlanks)
{
    PString text(L"\u00a0x\u2003");
    text.trim();

    EXPECT_EQ(3u, text.len());
}

TEST(ShortString, StoresShortTextsInline)
{
    PShortString<8> text;
    const wchar_t* const inside = text.ptr();
    text = L"12345678";

    EXPECT_EQ(inside, text.ptr());
    EXPECT_EQ(L"12345678", content(text));
}

TEST(ShortString, MovesToTheHeapWhenTooSmall)
{
    PShortString<8> text;
    const wchar_t* const inside = text.ptr();
    text = L"12345678";
    text += L"9";

    EXPECT_NE(inside, text.ptr());
    EXPECT_EQ(L"123456789", content(text));
}

TEST(ShortString, MovingOutCopiesTheText)
{
    PShortString<8> source;
    source = L"abc";
    PString target;
    target = std::move(static_cast<PString&>(source));

    EXPECT_NE(source.ptr(), target.ptr());
    EXPECT_EQ(L"abc", content(target));
    EXPECT_EQ(L"", content(source));
}

TEST(ShortString, TakesOverTheBufferOfAMovedText)
{
    PString source(kLong);
    PShortString<8> target;
    target = L"abc";
    target = std::move(source);

    EXPECT_EQ(kLong, content(target));
}
