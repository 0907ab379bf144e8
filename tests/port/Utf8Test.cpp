// SPDX-License-Identifier: MIT
#include "portinglayer/PUtf8.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace
{
using Text = std::vector<std::uint32_t>;

std::string encode(const Text& iText, bool iFileStart = false)
{
    const std::vector<wchar_t> chars(iText.begin(), iText.end());
    std::string bytes(iText.size() * PUtf8::eMaxBytes, '\0');
    bytes.resize(PUtf8::encodeLine(chars.data(), chars.size(), bytes.data(), iFileStart));
    return bytes;
}

Text decode(const std::string& iBytes, bool iFileStart = false)
{
    std::vector<wchar_t> chars(iBytes.size());
    chars.resize(PUtf8::decodeLine(iBytes.data(), iBytes.size(), chars.data(), iFileStart));
    return Text(chars.begin(), chars.end());
}

std::string encodePath(const Text& iText)
{
    const std::vector<wchar_t> chars(iText.begin(), iText.end());
    std::string bytes(iText.size() * PUtf8::eMaxBytes + 1, 'x');
    const std::size_t size = PUtf8::encodePath(chars.data(), chars.size(), bytes.data());
    return size == PUtf8::eNoPath ? "no path" : bytes.substr(0, size);
}

Text decodePath(const std::string& iBytes)
{
    std::vector<wchar_t> chars(iBytes.size());
    chars.resize(PUtf8::decodePath(iBytes.data(), iBytes.size(), chars.data()));
    return Text(chars.begin(), chars.end());
}

/// Prints a text or a line in a failure message.
template <class TSequence>
std::string hex(const TSequence& iSequence)
{
    std::string result;
    for (const auto value : iSequence)
    {
        char number[16];
        const auto bits = sizeof value == 1 ? static_cast<unsigned char>(value)
                                            : static_cast<std::uint32_t>(value);
        std::snprintf(number, sizeof number, "%X ", static_cast<unsigned int>(bits));
        result += number;
    }
    return result;
}

bool textComesBack(const Text& iText, bool iFileStart)
{
    const std::string bytes = encode(iText, iFileStart);
    return bytes.find_first_of(std::string("\0\n\r", 3)) == std::string::npos &&
           decode(bytes, iFileStart) == iText;
}

bool lineComesBack(const std::string& iBytes)
{
    return encode(decode(iBytes)) == iBytes;
}

/// Calls iCheck with every sequence of up to iMaxLen members of iAlphabet.
template <class TSequence, class TCheck>
void forAll(const TSequence& iAlphabet, std::size_t iMaxLen, const TCheck& iCheck,
            TSequence iPrefix = {})
{
    iCheck(iPrefix);
    for (std::size_t i = 0; iMaxLen > 0 && i < iAlphabet.size(); ++i)
    {
        TSequence longer = iPrefix;
        longer.push_back(iAlphabet[i]);
        forAll(iAlphabet, iMaxLen - 1, iCheck, longer);
    }
}

const Text kNastyCharacters = {
    0,      '\t',   '\n',   '\r',   'a',      '\\',     0x7F,       0x80,       0xE9,
    0x7FF,  0x800,  0xD7FF, 0xD800, 0xDC7F,   0xDC80,   0xDC8A,     0xDC8D,     0xDC8F,
    0xDC90, 0xDCA0, 0xDCA9, 0xDCBB, 0xDCBF,   0xDCC0,   0xDCC1,     0xDCC3,     0xDCE0,
    0xDCED, 0xDCEF, 0xDCF0, 0xDCF4, 0xDCF5,   0xDCFE,   0xDCFF,     0xDD00,     0xDFFF,
    0xE000, 0xFEFF, 0xFFFD, 0xFFFF, 0x10FFFF, 0x110000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};

const std::string kNastyBytes = "a\t\x7F\x80\x81\x83\x8A\x8D\x8F\x90\x9F\xA0\xA9\xB2\xB3\xBB\xBF"
                                "\xC0\xC1\xC3\xE0\xED\xEF\xF0\xF4\xF5\xFE\xFE\xFF";

template <class TSequence>
TSequence randomSequence(std::mt19937& ioRandom, const TSequence& iAlphabet)
{
    TSequence result;
    for (auto left = ioRandom() % 24; left > 0; --left)
    {
        result.push_back(iAlphabet[ioRandom() % iAlphabet.size()]);
    }
    return result;
}

/// Seven bytes of a wide form.
std::string wideForm(std::uint32_t iChar)
{
    std::string bytes = "\xFE";
    for (int shift = 30; shift >= 0; shift -= 6)
    {
        bytes += static_cast<char>(0x80 | ((std::uint64_t{iChar} >> shift) & 0x3F));
    }
    return bytes;
}
} // namespace

TEST(Utf8, OrdinaryTextIsPlainUtf8)
{
    EXPECT_EQ("a=\\n\t\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
              encode({'a', '=', '\\', 'n', '\t', 0xE9, 0x20AC, 0x1F600}));
}

TEST(Utf8, PlainUtf8IsReadAsItsCharacters)
{
    EXPECT_EQ((Text{'z', 0xE9, 0x20AC, 0x1F600, 0x10FFFF, 0xFEFF}),
              decode("z\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF\xEF\xBB\xBF"));
}

TEST(Utf8, LineBreaksAndZeroAreEscaped)
{
    const std::string bytes = encode({'a', '\n', 0, '\r', 'b'});

    EXPECT_EQ("a\xC0\x8A\xC0\x80\xC0\x8D"
              "b",
              bytes);
    EXPECT_EQ((Text{'a', '\n', 0, '\r', 'b'}), decode(bytes));
}

TEST(Utf8, BytesThatAreNoUtf8BecomeLoneSurrogates)
{
    const struct
    {
        const char* what;
        std::string bytes;
    } rows[] = {{"lone continuation", "\x80"},
                {"lone lead", "\xC3"},
                {"cut short", "\xE2\x82"},
                {"overlong slash", "\xC0\xAF"},
                {"overlong two bytes", "\xC1\xBF"},
                {"overlong three bytes", "\xE0\x9F\xBF"},
                {"overlong four bytes", "\xF0\x8F\xBF\xBF"},
                {"surrogate", "\xED\xA0\x80"},
                {"stand-in in UTF-8", "\xED\xB2\x80"},
                {"above the last character", "\xF4\x90\x80\x80"},
                {"lead of five bytes", "\xF8\x88\x80\x80\x80"},
                {"never used", "\xFF\xFE"}};
    for (const auto& row : rows)
    {
        Text expected;
        for (const char byte : row.bytes)
        {
            expected.push_back(0xDC00u + static_cast<unsigned char>(byte));
        }
        EXPECT_EQ(expected, decode(row.bytes)) << row.what;
        EXPECT_EQ(row.bytes, encode(expected)) << row.what;
    }
}

TEST(Utf8, LatinOneLineRoundTrips)
{
    const std::string line = "gr\xFC\xDF"
                             "e=\xE4\xF6\xFC";

    EXPECT_EQ(line, encode(decode(line)));
}

TEST(Utf8, CharactersWithoutUtf8TakeTheWideForm)
{
    for (const std::uint32_t character : {0xD800u, 0xDC7Fu, 0xDD00u, 0xDFFFu, 0x110000u, ~0u})
    {
        EXPECT_EQ(wideForm(character), encode({character})) << character;
        EXPECT_EQ(Text{character}, decode(wideForm(character))) << character;
    }
}

TEST(Utf8, WideFormIsReadOnlyWhereItWouldBeWritten)
{
    for (const std::uint32_t character :
         {0u, 0x0Au, 0x41u, 0x20ACu, 0xDC80u, 0xDCC3u, 0xFEFFu, 0x10FFFFu})
    {
        const std::string bytes = wideForm(character) + "x";
        EXPECT_EQ(8u, decode(bytes).size()) << character;
        EXPECT_EQ(bytes, encode(decode(bytes))) << character;
    }
}

TEST(Utf8, WideFormBeyond32BitsIsInvalid)
{
    const std::string bytes = "\xFE\x84\x80\x80\x80\x80\x80";

    EXPECT_EQ(7u, decode(bytes).size());
    EXPECT_EQ(bytes, encode(decode(bytes)));
}

TEST(Utf8, StandInsThatCouldMergeStayDistinct)
{
    const Text text = {0xDCC3, 0xDCA9};

    EXPECT_EQ(wideForm(0xDCC3) + "\xA9", encode(text));
    EXPECT_EQ(text, decode(encode(text)));
}

TEST(Utf8, StandInsOfALineBreakFormStayDistinct)
{
    const Text text = {'k', 0xDCC0, 0xDC8A, 'v'};

    EXPECT_EQ(text, decode(encode(text)));
}

TEST(Utf8, StandInsOfAWideFormStayDistinct)
{
    Text text;
    for (const char byte : wideForm(0x110000))
    {
        text.push_back(0xDC00u + static_cast<unsigned char>(byte));
    }

    EXPECT_EQ(text, decode(encode(text)));
}

TEST(Utf8, NestedWideFormsOfStandInsStayDistinct)
{
    const Text core = {0xDCC3, 0xDCA9};
    Text text = core;
    for (int depth = 0; depth < 4; ++depth)
    {
        const std::string bytes = encode(text);
        ASSERT_EQ(text, decode(bytes)) << depth;
        text.clear();
        for (const char byte : bytes)
        {
            text.push_back(0xDC00u + static_cast<unsigned char>(byte));
        }
    }
}

TEST(Utf8, FileStartNeverLooksLikeAByteOrderMark)
{
    const Text texts[] = {{0xFEFF, 'a'}, {0xFEFF, 0xFEFF}, {0xDCEF, 0xDCBB, 0xDCBF, 'a'}};
    for (const Text& text : texts)
    {
        const std::string bytes = encode(text, true);
        EXPECT_NE("\xEF\xBB\xBF", bytes.substr(0, 3)) << hex(text);
        EXPECT_EQ(text, decode(bytes, true)) << hex(text);
    }
}

TEST(Utf8, ByteOrderMarkInsideALineIsAnOrdinaryCharacter)
{
    EXPECT_EQ("a\xEF\xBB\xBF", encode({'a', 0xFEFF}, true));
    EXPECT_EQ("\xEF\xBB\xBF", encode({0xFEFF}));
}

TEST(Utf8, EveryShortTextRoundTrips)
{
    forAll(kNastyCharacters, 3,
           [](const Text& iText)
           {
               ASSERT_TRUE(textComesBack(iText, false)) << hex(iText);
               ASSERT_TRUE(textComesBack(iText, true)) << hex(iText);
           });
}

TEST(Utf8, EveryRunOfFourStandInsRoundTrips)
{
    const Text standIns = {0xDC80, 0xDC8A, 0xDC8F, 0xDC90, 0xDC9F, 0xDCA0, 0xDCBB, 0xDCBF, 0xDCC0,
                           0xDCC2, 0xDCE0, 0xDCED, 0xDCEF, 0xDCF0, 0xDCF4, 0xDCFE, 'a'};
    forAll(standIns, 4,
           [](const Text& iText)
           {
               ASSERT_TRUE(textComesBack(iText, false)) << hex(iText);
               ASSERT_TRUE(textComesBack(iText, true)) << hex(iText);
           });
}

TEST(Utf8, RandomTextsRoundTrip)
{
    std::mt19937 random(20240611);
    for (int round = 0; round < 50000; ++round)
    {
        const Text text = randomSequence(random, kNastyCharacters);
        ASSERT_TRUE(textComesBack(text, round % 2 == 0)) << hex(text);
    }
}

TEST(Utf8, RandomCharactersRoundTrip)
{
    std::mt19937 random(7);
    for (int round = 0; round < 50000; ++round)
    {
        const auto bits = static_cast<std::uint32_t>(random());
        const Text text = {bits, bits % 0x120000, bits % 0x10000, bits % 0x100};
        ASSERT_TRUE(textComesBack(text, round % 2 == 0)) << hex(text);
    }
}

TEST(Utf8, TextsOfDisguisedBytesRoundTrip)
{
    std::mt19937 random(3);
    for (int round = 0; round < 20000; ++round)
    {
        Text disguised;
        for (const char byte : encode(randomSequence(random, kNastyCharacters)))
        {
            const auto bits = static_cast<unsigned char>(byte);
            disguised.push_back(bits < 0x80 ? bits : 0xDC00u + bits);
        }
        ASSERT_TRUE(textComesBack(disguised, round % 2 == 0)) << hex(disguised);
    }
}

TEST(Utf8, EveryShortLineRoundTrips)
{
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
    {
        if (byte != '\n' && byte != '\r')
        {
            all += static_cast<char>(byte);
        }
    }
    forAll(all, 2,
           [](const std::string& iBytes) { ASSERT_TRUE(lineComesBack(iBytes)) << hex(iBytes); });
}

TEST(Utf8, EveryLineOfFourSpecialBytesRoundTrips)
{
    forAll(kNastyBytes, 4,
           [](const std::string& iBytes) { ASSERT_TRUE(lineComesBack(iBytes)) << hex(iBytes); });
}

TEST(Utf8, RandomLinesRoundTrip)
{
    std::mt19937 random(42);
    for (int round = 0; round < 50000; ++round)
    {
        const std::string line = randomSequence(random, kNastyBytes);
        ASSERT_TRUE(lineComesBack(line)) << hex(line);
    }
}

TEST(Utf8, LinesOfWideFormsRoundTrip)
{
    std::mt19937 random(11);
    for (int round = 0; round < 50000; ++round)
    {
        std::string line = randomSequence(random, kNastyBytes).substr(0, 3);
        for (auto left = random() % 4; left > 0; --left)
        {
            line += wideForm(kNastyCharacters[random() % kNastyCharacters.size()]);
        }
        line += randomSequence(random, kNastyBytes).substr(0, 3);
        ASSERT_TRUE(lineComesBack(line)) << hex(line);
    }
}

TEST(Utf8, LongChainOfWideLeadsRoundTrips)
{
    std::string line;
    for (int i = 0; i < 200000; ++i)
    {
        line += wideForm(0xDCFE).substr(1);
    }

    EXPECT_TRUE(lineComesBack("\xFE" + line));
}

TEST(Utf8, PathKeepsLineBreaksAndBytes)
{
    EXPECT_EQ("/tmp/a\nb\xFF\xC3\xA9",
              encodePath({'/', 't', 'm', 'p', '/', 'a', '\n', 'b', 0xDCFF, 0xE9}));
}

TEST(Utf8, TextWithZeroOrLoneSurrogateIsNotAPath)
{
    EXPECT_EQ("no path", encodePath({'a', 0}));
    EXPECT_EQ("no path", encodePath({0xD800}));
    EXPECT_EQ("no path", encodePath({0x110000}));
}

TEST(Utf8, PathBytesRoundTrip)
{
    std::mt19937 random(5);
    for (int round = 0; round < 50000; ++round)
    {
        const std::string path = randomSequence(random, kNastyBytes + "\n\r");
        ASSERT_EQ(path, encodePath(decodePath(path))) << hex(path);
    }
}
