// SPDX-License-Identifier: MIT
#include "format/FormatModel.h"
#include "logger/LogTest.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cwchar>
#include <random>

using testing::ElementsAre;

namespace
{
class LogFormat : public LogTest
{
protected:
    void SetUp() override
    {
        init();
    }

    /// Whether the text of a line is what the C library makes of it; some are too long to be shown.
    template <class... TArgs>
    bool isAsInTheCLibrary(const wchar_t* iFormat, TArgs... iArgs)
    {
        PLogger::info(logger.get(), 0, iFormat, iArgs...);
        std::wstring text(3 * kLarge, L'\0');
        const int size = std::swprintf(text.data(), text.size(), iFormat, iArgs...);
        return size > 0 && texts().back() == narrow(text.c_str());
    }

    /// A width beyond those that the logger formats itself.
    static constexpr int kLarge = 1100000;
};
} // namespace

// The thread sanitizer finds nothing on one thread.
#if !defined(__SANITIZE_THREAD__)
TEST(LogFormats, AreThoseOfTheCLibrary)
{
    constexpr int kCases = 100000;
    ASSERT_NE(nullptr, std::setlocale(LC_ALL, "C.UTF-8"));
    std::mt19937 random(20261122);
    const auto byte = [&random]
    {
        return static_cast<char>(random() % 5 == 0 ? '\\' : random() % 256);
    };

    for (int i = 0; i < kCases; ++i)
    {
        std::string bytes(random() % 90, '\0');
        std::generate(bytes.begin(), bytes.end(), byte);
        ASSERT_EQ("", FormatModel::difference(bytes));
    }
}
#endif

TEST_F(LogFormat, NarrowTextIsUtf8InEveryLocale)
{
    for (const char* const locale : {"C", "C.UTF-8"})
    {
        ASSERT_NE(nullptr, std::setlocale(LC_ALL, locale));
        PLogger::info(logger.get(), 0, L"[%s] %d", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", 7);
    }

    const std::string expected = "[\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80] 7";
    EXPECT_THAT(texts(), ElementsAre(expected, expected));
}

TEST_F(LogFormat, BytesThatAreNoUtf8AreShownAsNumbers)
{
    PLogger::info(logger.get(), 0, L"%s %d", "a\xFF\xC3 \xE2\x82 \xED\xA0\x80\xC0\x80", 7);
    PLogger::info(logger.get(), 0, L"%c%c", 0xE4, 'b');

    EXPECT_THAT(texts(),
                ElementsAre("a\\xff\\xc3 \\xe2\\x82 \\xed\\xa0\\x80\\xc0\\x80 7", "\\xe4b"));
}

TEST_F(LogFormat, SizesOfNarrowTextCountCharacters)
{
    PLogger::info(logger.get(), 0, L"%4s|%-4s|%.2s|", "\xC3\xA4", "\xFF\xFE",
                  "\xE2\x82\xAC"
                  "bc");

    EXPECT_THAT(texts(), ElementsAre("   \xC3\xA4|\\xff\\xfe  |\xE2\x82\xAC"
                                     "b|"));
}

TEST_F(LogFormat, PrecisionReadsNoMoreThanItsCharacters)
{
    const std::vector<char> narrow = {'a', '\xC3', '\xA4'};
    const std::vector<wchar_t> wide = {L'a', L'b'};

    PLogger::info(logger.get(), 0, L"%.2s|%.*ls", static_cast<const char*>(narrow.data()), 2,
                  wide.data());

    EXPECT_THAT(texts(), ElementsAre("a\xC3\xA4|ab"));
}

TEST_F(LogFormat, LongNarrowTextIsComplete)
{
    std::string text;
    for (int i = 0; i < 700; ++i)
    {
        text += "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    }

    PLogger::info(logger.get(), 0, L"%s", text.c_str());

    EXPECT_THAT(texts(), ElementsAre(text));
}

TEST_F(LogFormat, ThatStoresACountIsShown)
{
    int count = 42;

    PLogger::info(logger.get(), 0, L"a%nb", &count);
    PLogger::info(logger.get(), 0, L"%d%hhn", 1, &count);
    PLogger::info(logger.get(), 0, L"%1$d%2$n", 1, &count);

    EXPECT_THAT(texts(), ElementsAre("a%nb", "%d%hhn", "%1$d%2$n"));
    EXPECT_EQ(42, count);
}

TEST_F(LogFormat, WithPositionsOrOfUnknownKindIsLeftToTheCLibrary)
{
    errno = ENOENT;

    PLogger::info(logger.get(), 0, L"%2$ls %1$d", 1, L"b");
    PLogger::info(logger.get(), 0, L"%m");
    PLogger::info(logger.get(), 0, L"100%");

    EXPECT_THAT(texts(), ElementsAre("b 1", "No such file or directory", "100%"));
}

TEST_F(LogFormat, WithUnusualSizesOrLengthsIsThatOfTheCLibrary)
{
    ASSERT_NE(nullptr, std::setlocale(LC_ALL, "C.UTF-8"));

    EXPECT_TRUE(isAsInTheCLibrary(L"%1100000d|", 1));
    EXPECT_TRUE(isAsInTheCLibrary(L"%.1100000u|", 1U));
    EXPECT_TRUE(isAsInTheCLibrary(L"%.1100000p|", &logger));
    EXPECT_TRUE(isAsInTheCLibrary(L"%.*x|%.*d", kLarge, 255U, -7, 5));
    EXPECT_TRUE(isAsInTheCLibrary(L"%*d|%*d|", kLarge, 1, -kLarge, 2));
    EXPECT_TRUE(isAsInTheCLibrary(L"%*d|%*d|", 5, 1, -5, 2));
    EXPECT_TRUE(isAsInTheCLibrary(L"%Ld", -1LL));
    EXPECT_TRUE(isAsInTheCLibrary(L"%Lu", 1ULL));
    EXPECT_TRUE(isAsInTheCLibrary(L"%#LX|%#X|%#x", 255ULL, 255U, 255U));
    EXPECT_TRUE(isAsInTheCLibrary(L"%Lo", 8ULL));
    EXPECT_TRUE(isAsInTheCLibrary(L"%hs|%hc|%hhs", "abc", 'd', "e"));
    EXPECT_TRUE(isAsInTheCLibrary(L"%Lf|%hf|%lf|%.3Le", 1.5L, 0.25, 2.5, 1e300L));
    EXPECT_TRUE(isAsInTheCLibrary(L"%lp|%+p|%p", &logger, &logger, nullptr));
    EXPECT_TRUE(isAsInTheCLibrary(L"%2$*1$d|%2$.*1$d", 5, 7));
    EXPECT_TRUE(isAsInTheCLibrary(L"%lC|%lS|%ls", static_cast<wint_t>(L'\u00E4'), L"\u20AC", L"b"));
}

TEST_F(LogFormat, ThatCannotBeFormattedIsShown)
{
    PLogger::info(logger.get(), 0, L"%d %lc", 1, static_cast<wint_t>(WEOF));

    EXPECT_THAT(texts(), ElementsAre("%d %lc"));
}

TEST_F(LogFormat, OfLargeSizesIsComplete)
{
    PLogger::info(logger.get(), 0, L"%5000d|%.3000f|%-2000s|", 1, 0.5, "a");

    EXPECT_THAT(texts(), ElementsAre(std::string(4999, ' ') + "1|0.5" + std::string(2999, '0') +
                                     "|a" + std::string(1999, ' ') + "|"));
}
