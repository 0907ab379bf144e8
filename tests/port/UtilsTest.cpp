// SPDX-License-Identifier: MIT
#include "portinglayer/PUtils.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <climits>

#include <memory>

namespace
{
/// A text and the value that it is read as; code 0 means success.
template <class TValue>
struct Row
{
    const wchar_t* text;
    int code;
    TValue value;
};

template <class TValue, std::size_t N>
void checkReading(int (*iFunction)(const PLiteral&, TValue&), const Row<TValue> (&iRows)[N])
{
    for (const Row<TValue>& row : iRows)
    {
        TValue value = 77;
        EXPECT_EQ(row.code, iFunction(row.text, value)) << narrow(row.text);
        EXPECT_EQ(row.code == 0 ? row.value : TValue{77}, value) << narrow(row.text);
    }
}

std::string bytesOf(const wchar_t* iText)
{
    unsigned char* data = nullptr;
    unsigned int size = 0;
    if (PUtils::strToBinary(iText, data, size) != 0)
    {
        return "none";
    }
    const std::unique_ptr<unsigned char[]> owner(data);
    return std::string(data, data + size);
}

std::string format(const wchar_t* iFormat, ...)
{
    va_list args;
    va_start(args, iFormat);
    PString text;
    EXPECT_EQ(0, PUtils::pformatStringList(text, iFormat, args));
    va_end(args);
    return narrow(text);
}
} // namespace

TEST(Utils, ReadsInt32)
{
    checkReading<int>(PUtils::strToInt32, {{L"0", 0, 0},
                                           {L"-0", 0, 0},
                                           {L"+7", 0, 7},
                                           {L"-5", 0, -5},
                                           {L" 42\t", 0, 42},
                                           {L"007", 0, 7},
                                           {L"2147483647", 0, INT_MAX},
                                           {L"-2147483648", 0, INT_MIN},
                                           {L"2147483648", -34, 0},
                                           {L"-2147483649", -34, 0},
                                           {L"99999999999999999999999999", -34, 0},
                                           {L"-99999999999999999999999999", -34, 0}});
}

TEST(Utils, ReadsUint32)
{
    checkReading<unsigned int>(PUtils::strToUint32, {{L"0", 0, 0},
                                                     {L"-0", 0, 0},
                                                     {L"+7", 0, 7},
                                                     {L"4294967295", 0, UINT_MAX},
                                                     {L"4294967296", -34, 0},
                                                     {L"18446744073709551616", -34, 0},
                                                     {L"-5", -34, 0}});
}

TEST(Utils, ReadsInt64)
{
    checkReading<long long>(PUtils::strToInt64, {{L"9223372036854775807", 0, LLONG_MAX},
                                                 {L"-9223372036854775808", 0, LLONG_MIN},
                                                 {L"9223372036854775808", -34, 0},
                                                 {L"-9223372036854775809", -34, 0},
                                                 {L"+12", 0, 12}});
}

TEST(Utils, ReadsUint64)
{
    checkReading<unsigned long long>(PUtils::strToUint64,
                                     {{L"18446744073709551615", 0, ULLONG_MAX},
                                      {L"00018446744073709551615", 0, ULLONG_MAX},
                                      {L"18446744073709551616", -34, 0},
                                      {L"99999999999999999999", -34, 0},
                                      {L"-1", -34, 0},
                                      {L"-0", 0, 0}});
}

TEST(Utils, TextThatIsNotANumberIsRefused)
{
    for (const wchar_t* text :
         {L"", L" ", L"abc", L"1x", L"x1", L"1 2", L"+", L"-", L"--1", L"+-1", L"- 1", L"1.0",
          L"1e3", L"0x10", L"\u0661", L"99999999999999999999x"})
    {
        int int32 = 77;
        unsigned long long uint64 = 77;
        EXPECT_EQ(-22, PUtils::strToInt32(text, int32)) << narrow(text);
        EXPECT_EQ(-22, PUtils::strToUint64(text, uint64)) << narrow(text);
        EXPECT_EQ(77, int32);
        EXPECT_EQ(77u, uint64);
    }
}

TEST(Utils, ZeroInsideANumberIsRefused)
{
    int value = 77;

    EXPECT_EQ(-22, PUtils::strToInt32(PString(L"1\0", 2), value));
    EXPECT_EQ(77, value);
}

TEST(Utils, WritesNumbersThatReadBack)
{
    PString text;

    EXPECT_EQ(0, PUtils::int32ToStr(INT_MIN, text));
    EXPECT_EQ(PLiteral(L"-2147483648"), text);
    EXPECT_EQ(0, PUtils::uint32ToStr(UINT_MAX, text));
    EXPECT_EQ(PLiteral(L"4294967295"), text);
    EXPECT_EQ(0, PUtils::int64ToStr(LLONG_MIN, text));
    EXPECT_EQ(PLiteral(L"-9223372036854775808"), text);
    EXPECT_EQ(0, PUtils::uint64ToStr(ULLONG_MAX, text));
    EXPECT_EQ(PLiteral(L"18446744073709551615"), text);
    EXPECT_EQ(0, PUtils::int32ToStr(0, text));
    EXPECT_EQ(PLiteral(L"0"), text);
}

TEST(Utils, ReadsTruthInAnyCase)
{
    for (const wchar_t* text : {L"true", L"TRUE", L"yes", L"Yes", L"on", L"oN", L"1", L" true\n"})
    {
        bool value = false;
        EXPECT_EQ(0, PUtils::strToBool(text, value)) << narrow(text);
        EXPECT_TRUE(value) << narrow(text);
    }
    for (const wchar_t* text : {L"false", L"False", L"no", L"NO", L"off", L"OFF", L"0"})
    {
        bool value = true;
        EXPECT_EQ(0, PUtils::strToBool(text, value)) << narrow(text);
        EXPECT_FALSE(value) << narrow(text);
    }
}

TEST(Utils, TextThatIsNotATruthValueIsRefused)
{
    for (const wchar_t* text : {L"", L"2", L"t", L"truee", L"true false", L"tru", L"-1", L"01"})
    {
        bool value = true;
        EXPECT_EQ(-22, PUtils::strToBool(text, value)) << narrow(text);
        EXPECT_TRUE(value);
    }
}

TEST(Utils, WritesTruthInLowerCase)
{
    PString text;

    EXPECT_EQ(0, PUtils::boolToStr(true, text));
    EXPECT_EQ(PLiteral(L"true"), text);
    EXPECT_EQ(0, PUtils::boolToStr(false, text));
    EXPECT_EQ(PLiteral(L"false"), text);
}

TEST(Utils, ReadsBytesInEitherCase)
{
    EXPECT_EQ(std::string("\x00\x0a\xff\xAB", 4), bytesOf(L"000aFFaB"));
    EXPECT_EQ("\x01", bytesOf(L" 01 "));
}

TEST(Utils, EmptyTextIsAnEmptyBlock)
{
    unsigned char* data = nullptr;
    unsigned int size = 7;

    EXPECT_EQ(0, PUtils::strToBinary(L"", data, size));
    const std::unique_ptr<unsigned char[]> owner(data);
    EXPECT_NE(nullptr, data);
    EXPECT_EQ(0u, size);
}

TEST(Utils, TextThatIsNotBytesIsRefused)
{
    for (const wchar_t* text : {L"0", L"0g", L"00 11", L"0x", L"-1", L"123", L"@A", L"\u00e0a"})
    {
        unsigned char* data = nullptr;
        unsigned int size = 7;
        EXPECT_EQ(-22, PUtils::strToBinary(text, data, size)) << narrow(text);
        EXPECT_EQ(nullptr, data);
        EXPECT_EQ(7u, size);
    }
}

TEST(Utils, WritesBytesInLowerCase)
{
    const unsigned char data[] = {0x00, 0x0A, 0xFF, 0xAB};
    PString text(L"old");

    EXPECT_EQ(0, PUtils::binaryToStr(data, 4, text));
    EXPECT_EQ(PLiteral(L"000affab"), text);
    EXPECT_EQ(0, PUtils::binaryToStr(nullptr, 0, text));
    EXPECT_EQ(0u, text.len());
}

TEST(Utils, MissingBlockIsRefused)
{
    PString text(L"old");

    EXPECT_EQ(-22, PUtils::binaryToStr(nullptr, 4, text));
    EXPECT_EQ(PLiteral(L"old"), text);
}

TEST(Utils, BlockWhoseTextWouldBeTooLongIsRefused)
{
    const unsigned char byte = 0;
    PString text(L"old");

    EXPECT_EQ(-12, PUtils::binaryToStr(&byte, ~0u / 2 + 1, text));
    EXPECT_EQ(PLiteral(L"old"), text);
}

TEST(Utils, SplitsAtTheFirstSeparatorAndTrims)
{
    PString key;
    PString value;

    EXPECT_EQ(0, PUtils::getKeyValue(L" a key = x = y ", key, value, L'='));
    EXPECT_EQ(PLiteral(L"a key"), key);
    EXPECT_EQ(PLiteral(L"x = y"), value);
}

TEST(Utils, SidesOfTheSeparatorMayBeEmpty)
{
    PString key(L"k");
    PString value(L"v");

    EXPECT_EQ(0, PUtils::getKeyValue(L" = ", key, value, L'='));
    EXPECT_EQ(0u, key.len());
    EXPECT_EQ(0u, value.len());
}

TEST(Utils, TextWithoutSeparatorIsRefused)
{
    PString key(L"k");
    PString value(L"v");

    EXPECT_EQ(-22, PUtils::getKeyValue(L"a:b", key, value, L'='));
    EXPECT_EQ(PLiteral(L"k"), key);
    EXPECT_EQ(PLiteral(L"v"), value);
}

TEST(Utils, SplitTextMayBeOneOfItsSides)
{
    PString key(L"  key  =value");
    PString value;
    EXPECT_EQ(0, PUtils::getKeyValue(key, key, value, L'='));
    EXPECT_EQ(PLiteral(L"key"), key);
    EXPECT_EQ(PLiteral(L"value"), value);

    value = L"a much longer key=b";
    EXPECT_EQ(0, PUtils::getKeyValue(value, key, value, L'='));
    EXPECT_EQ(PLiteral(L"a much longer key"), key);
    EXPECT_EQ(PLiteral(L"b"), value);
}

TEST(Utils, FileSeparatorsBecomeSlashes)
{
    PString path(L"dir\\sub\\\\file/x");
    PUtils::fixFileSeparator(path);
    PString empty;
    PUtils::fixFileSeparator(empty);

    EXPECT_EQ(PLiteral(L"dir/sub//file/x"), path);
    EXPECT_EQ(0u, empty.len());
}

TEST(Utils, FormatsAsWidePrintf)
{
    EXPECT_EQ("[a] \xC3\xA9 b -5 18446744073709551615 0x2a",
              format(L"[%s] %ls b %d %llu %#x", "a", L"\u00e9", -5, ULLONG_MAX, 42));
}

TEST(Utils, FormatsTextsOfAnyLength)
{
    for (const std::size_t length : {255u, 256u, 257u, 100000u})
    {
        const std::wstring part(length, L'x');
        EXPECT_EQ(std::string(length, 'x') + "!", format(L"%ls!", part.c_str())) << length;
    }
}

TEST(Utils, FormattedArgumentMayBeTheTargetItself)
{
    PString text(L"abc");

    EXPECT_EQ(0, PUtils::pformatString(text, L"<%ls>", text.ptr()));
    EXPECT_EQ(PLiteral(L"<abc>"), text);
}

TEST(Utils, ArgumentThatCannotBeFormattedIsRefused)
{
    PString text(L"old");

    EXPECT_EQ(-84, PUtils::pformatString(text, L"%s", "\xFF\xFE"));
    EXPECT_EQ(PLiteral(L"old"), text);
}

TEST(Utils, MissingFormatIsRefused)
{
    PString text(L"old");

    EXPECT_EQ(-22, PUtils::pformatString(text, nullptr));
    EXPECT_EQ(PLiteral(L"old"), text);
}
