// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <set>
#include <thread>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace
{
class LogLine : public LogTest
{
protected:
    static std::string now()
    {
        timespec time{};
        clock_gettime(CLOCK_REALTIME, &time);
        std::tm parts{};
        localtime_r(&time.tv_sec, &parts);
        char text[64];
        const std::size_t len = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
        std::snprintf(text + len, sizeof text - len, ".%03d",
                      static_cast<int>(time.tv_nsec / 1000000));
        return text;
    }

    /// As now, in the second half of a second, where the first digit of the fraction is not zero.
    static std::string lateNow()
    {
        std::string time;
        do
        {
            time = now();
        } while (time[20] < '5');
        return time;
    }

    /// Process and thread number in the form of a line.
    static std::string numbers(const std::string& iLine)
    {
        return iLine.substr(24, iLine.find(' ', 24) - 24);
    }

    static std::string ownNumbers()
    {
        return std::to_string(getpid()) + ":" + std::to_string(gettid());
    }
};
} // namespace

TEST_F(LogLine, HasTimeNumbersKindTagAndText)
{
    init();

    EXPECT_EQ(0, PLogger::info(logger.get(), 0, L"value %d of %ls", 7, L"nine"));

    ASSERT_EQ(1u, lines().size());
    EXPECT_THAT(lines()[0],
                MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3} "
                             "[0-9]+:[0-9]+ I tag value 7 of nine"));
}

TEST_F(LogLine, EndsWithOneLineFeed)
{
    init();

    info("a");

    const std::string bytes = dir.read("test.log");
    EXPECT_EQ(bytes.size() - 1, bytes.find('\n'));
}

TEST_F(LogLine, TimeIsLocalAndExactToTheMillisecond)
{
    setenv("TZ", "TST-13:45", 1);
    tzset();
    init();

    const std::string before = lateNow();
    info("a");
    const std::string after = now();

    ASSERT_EQ(1u, lines().size());
    const std::string shown = lines()[0].substr(0, before.size());
    EXPECT_LE(before, shown);
    EXPECT_GE(after, shown);
}

TEST_F(LogLine, NumbersAreThoseOfTheWritingThread)
{
    init();
    std::string expected;

    std::thread(
        [&]
        {
            expected = ownNumbers();
            info("from another thread");
        })
        .join();
    info("from this one");

    ASSERT_EQ(2u, lines().size());
    EXPECT_EQ(expected, numbers(lines()[0]));
    EXPECT_EQ(ownNumbers(), numbers(lines()[1]));
}

TEST_F(LogLine, ForkedChildShowsItsOwnNumbers)
{
    init();
    info("parent");

    const pid_t child = fork();
    if (child == 0)
    {
        PLogger own;
        init(own, {});
        PLogger::info(&own, 0, L"%ls", wide(ownNumbers()).ptr());
        _exit(0);
    }
    waitpid(child, nullptr, 0);

    ASSERT_EQ(2u, lines().size());
    EXPECT_EQ(texts()[1], numbers(lines()[1]));
    EXPECT_THAT(texts()[1], StartsWith(std::to_string(child)));
}

TEST_F(LogLine, KindFollowsTheOperation)
{
    init();

    PLogger::info(logger.get(), 0, L"a");
    PLogger::error(logger.get(), 0, L"b");
    PLogger::debug(logger.get(), 0, L"c");

    EXPECT_THAT(lines(),
                ElementsAre(HasSubstr(" I tag a"), HasSubstr(" E tag b"), HasSubstr(" D tag c")));
}

TEST_F(LogLine, BreaksAndZerosInTheTextAreShown)
{
    init();

    PLogger::info(logger.get(), 0, L"a\nb\r\nc%cd", 0);

    EXPECT_THAT(texts(), ElementsAre("a\\nb\\r\\nc\\0d"));
}

TEST_F(LogLine, ShowsEveryCharacterAtEveryPosition)
{
    const std::vector<std::pair<wchar_t, std::string>> characters = {
        {L'\t', "\t"},
        {L' ', " "},
        {L'~', "~"},
        {L'\\', "\\"},
        {L'\u00a0', "\xC2\xA0"},
        {L'\u00e4', "\xC3\xA4"},
        {L'\u2027', "\xE2\x80\xA7"},
        {L'\u202f', "\xE2\x80\xAF"},
        {L'\u2065', "\xE2\x81\xA5"},
        {L'\u206a', "\xE2\x81\xAA"},
        {L'\U0001F600', "\xF0\x9F\x98\x80"},
        {static_cast<wchar_t>(0x10FFFF), "\xF4\x8F\xBF\xBF"},
        {L'\n', "\\n"},
        {L'\x1', "\\x01"},
        {L'\a', "\\x07"},
        {L'\b', "\\x08"},
        {L'\x1B', "\\x1b"},
        {L'\x1F', "\\x1f"},
        {L'\x7F', "\\x7f"},
        {L'\x80', "\\u0080"},
        {L'\x9B', "\\u009b"},
        {L'\x9F', "\\u009f"},
        {L'\u061c', "\\u061c"},
        {L'\u200e', "\\u200e"},
        {L'\u200f', "\\u200f"},
        {L'\u2028', "\\u2028"},
        {L'\u2029', "\\u2029"},
        {L'\u202a', "\\u202a"},
        {L'\u202e', "\\u202e"},
        {L'\u2066', "\\u2066"},
        {L'\u2069', "\\u2069"},
        {static_cast<wchar_t>(0xD800), "\\ud800"},
        {static_cast<wchar_t>(0xDC80), "\\x80"},
        {static_cast<wchar_t>(0xDCFF), "\\xff"},
        {static_cast<wchar_t>(0x110000), "\\U00110000"},
        {static_cast<wchar_t>(0xFFFFFFFF), "\\Uffffffff"},
    };
    init();
    std::vector<std::string> expected;

    for (const auto& [character, bytes] : characters)
    {
        for (const std::size_t size : {9u, 41u})
        {
            for (std::size_t place = 0; place < size; ++place)
            {
                std::wstring text(size, L'z');
                text[place] = character;
                PLogger::info(logger.get(), 0, L"%ls", text.c_str());
                expected.push_back(std::string(place, 'z') + bytes +
                                   std::string(size - 1 - place, 'z'));
            }
        }
    }

    EXPECT_EQ(expected, texts());
}

TEST_F(LogLine, BackslashIsDoubledWhereItWouldBeginAnEscape)
{
    init();

    info("C:\\temp\\new \\r \\0 \\x \\u \\U \\\\ \\\x1B \\d \\");

    EXPECT_THAT(
        texts(),
        ElementsAre("C:\\temp\\\\new \\\\r \\\\0 \\\\x \\\\u \\\\U \\\\\\ \\\\\\x1b \\d \\"));
}

TEST_F(LogLine, DifferentTextsNeverLookTheSame)
{
    const std::wstring characters = {L'\\', L'n',  L'r',    L'0',      L'x',   L'u', L'U',  L'1',
                                     L'b',  L'\n', L'\x1B', L'\u202e', 0xDC9B, 0x9B, 0xDCC2};
    std::vector<std::wstring> written = {L""};
    init();

    for (std::size_t from = 0, end = 1; written.back().size() < 3; from = end, end = written.size())
    {
        for (std::size_t i = from; i < end; ++i)
        {
            for (const wchar_t character : characters)
            {
                written.push_back(written[i] + character);
            }
        }
    }
    for (const std::wstring& text : written)
    {
        PLogger::info(logger.get(), 0, L"%ls", text.c_str());
    }

    const std::vector<std::string> shown = texts();
    EXPECT_EQ(3616u, written.size());
    EXPECT_EQ(written.size(), std::set<std::string>(shown.begin(), shown.end()).size());
}

TEST_F(LogLine, OfEscapesOnlyFitsToo)
{
    init();
    const std::wstring text(1024, static_cast<wchar_t>(0x7FFFFFFF));

    EXPECT_EQ(0, PLogger::info(logger.get(), 0, L"%ls", text.c_str()));

    ASSERT_EQ(1u, texts().size());
    EXPECT_EQ(10u * text.size(), texts()[0].size());
}

TEST_F(LogLine, ControlCharactersInTheTagAreShown)
{
    init({.tag = "a\x1B[2J"});

    info("text");

    EXPECT_THAT(lines(), ElementsAre(HasSubstr(" I a\\x1b[2J text")));
}

TEST_F(LogLine, BreaksInTheTagAreShown)
{
    init({.tag = "a\nb"});

    info("text");

    EXPECT_THAT(lines(), ElementsAre(HasSubstr(" I a\\nb text")));
}

TEST_F(LogLine, IsUtf8InEveryLocale)
{
    std::setlocale(LC_ALL, "C");
    init();

    PLogger::info(logger.get(), 0, L"%ls", L"\u00e4\u20ac\U0001F600");

    EXPECT_THAT(texts(), ElementsAre("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"));
}

TEST_F(LogLine, TakesNarrowTextInTheCLocale)
{
    std::setlocale(LC_ALL, "C");
    init();

    PLogger::info(logger.get(), 0, L"[%s] done", "operation");

    EXPECT_THAT(texts(), ElementsAre("[operation] done"));
}

TEST_F(LogLine, OfAnyLengthIsWrittenCompletely)
{
    init();
    const std::vector<std::size_t> lengths = {1023, 1024, 1025, 100000};

    for (const std::size_t length : lengths)
    {
        info(filler(length));
    }

    EXPECT_THAT(texts(), ElementsAre(filler(1023), filler(1024), filler(1025), filler(100000)));
}

TEST_F(LogLine, OfWideCharactersOnlyFitsToo)
{
    init();
    const std::wstring text(1024, L'\U0001F600');

    EXPECT_EQ(0, PLogger::info(logger.get(), 0, L"%ls", text.c_str()));

    ASSERT_EQ(1u, texts().size());
    EXPECT_EQ(4u * text.size(), texts()[0].size());
}

TEST_F(LogLine, WithoutAFormatIsEmpty)
{
    init();

    EXPECT_EQ(0, PLogger::info(logger.get(), 0, static_cast<const wchar_t*>(nullptr)));

    EXPECT_THAT(texts(), ElementsAre(""));
}

TEST_F(LogLine, DoesNotChangeErrno)
{
    init({.file = "/dev/full"});
    errno = 1234;

    EXPECT_EQ(-ENOSPC, info("a"));

    EXPECT_EQ(1234, errno);
}

TEST_F(LogLine, DoesNotChangeTheCancellationState)
{
    init();
    for (const int state : {PTHREAD_CANCEL_ENABLE, PTHREAD_CANCEL_DISABLE})
    {
        int left = -1;
        pthread_setcancelstate(state, nullptr);
        info("a");
        pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &left);
        EXPECT_EQ(state, left);
    }
}

namespace
{
int _infoList(PLogger* iLogger, const wchar_t* iFormat, ...)
{
    va_list args;
    va_start(args, iFormat);
    const int result = PLogger::info(iLogger, 0, iFormat, args);
    va_end(args);
    return result;
}
} // namespace

TEST_F(LogLine, TakesLiteralsAsFirstArgument)
{
    init();

    PLogger::info(logger.get(), 0, L"%d", 0);
    PLogger::error(logger.get(), 0, L"%s", "text");
    PLogger::debug(logger.get(), 0, L"%.1f", 0.5f);

    EXPECT_THAT(texts(), ElementsAre("0", "text", "0.5"));
}

TEST_F(LogLine, TakesArgumentListsOfShortAndLongTexts)
{
    init();

    EXPECT_EQ(0, _infoList(logger.get(), L"%d %ls", 1, L"short"));
    EXPECT_EQ(0, _infoList(logger.get(), L"%d %ls", 2, wide(filler(3000)).ptr()));

    EXPECT_THAT(texts(), ElementsAre("1 short", "2 " + filler(3000)));
}

namespace
{
class LogLevel : public LogTest
{
protected:
    void SetUp() override
    {
        init();
    }
};
} // namespace

TEST_F(LogLevel, StartsAtZero)
{
    PLogger::info(logger.get(), 0, L"shown");
    PLogger::info(logger.get(), 1, L"hidden");
    PLogger::debug(logger.get(), 1, L"hidden");

    EXPECT_THAT(texts(), ElementsAre("shown"));
}

TEST_F(LogLevel, LinesUpToTheLevelAreWritten)
{
    EXPECT_EQ(0, logger->setLevel(2));

    PLogger::info(logger.get(), 2, L"two");
    PLogger::debug(logger.get(), 2, L"two too");
    EXPECT_EQ(0, PLogger::info(logger.get(), 3, L"three"));

    EXPECT_THAT(texts(), ElementsAre("two", "two too"));
}

TEST_F(LogLevel, NegativeLevelHidesAllButErrors)
{
    logger->setLevel(-1);

    PLogger::info(logger.get(), 0, L"info");
    PLogger::debug(logger.get(), 0, L"debug");
    PLogger::error(logger.get(), 1000, L"error");

    EXPECT_THAT(texts(), ElementsAre("error"));
}

TEST_F(LogLevel, ReportsWhetherALineWouldBeWritten)
{
    logger->setLevel(5);

    EXPECT_TRUE(logger->isLogged(5));
    EXPECT_FALSE(logger->isLogged(6));
}

TEST_F(LogLevel, SetBeforeInitCounts)
{
    PLogger early;
    early.setLevel(3);
    init(early, {.file = "early.log"});

    PLogger::info(&early, 3, L"three");

    EXPECT_THAT(texts("early.log"), ElementsAre("three"));
}

TEST_F(LogLevel, NothingIsLoggedBeforeInit)
{
    PLogger closed;
    closed.setLevel(10);

    EXPECT_FALSE(closed.isLogged(0));
}

namespace
{
class HexDump : public LogTest
{
protected:
    void SetUp() override
    {
        init();
    }

    int dump(const std::string& iBytes, unsigned int iWidth)
    {
        return PLogger::dumpHex(logger.get(), 0, iBytes.data(),
                                static_cast<unsigned int>(iBytes.size()), iWidth);
    }
};
} // namespace

TEST_F(HexDump, ShowsOffsetBytesAndCharacters)
{
    EXPECT_EQ(0, dump(std::string("Ab\0\x7F\xFF z", 7), 4));

    EXPECT_THAT(texts(),
                ElementsAre("00000000  41 62 00 7f  |Ab..|", "00000004  ff 20 7a     |. z|"));
    EXPECT_THAT(lines()[0], HasSubstr(" D tag "));
}

TEST_F(HexDump, IsSixteenBytesWideByDefault)
{
    dump(filler(17), 0);

    ASSERT_EQ(2u, texts().size());
    EXPECT_THAT(texts()[0], HasSubstr("|" + filler(16) + "|"));
    EXPECT_THAT(texts()[1], StartsWith("00000010  78 "));
}

TEST_F(HexDump, IsNoWiderThanTheData)
{
    EXPECT_EQ(0, dump("ab", 0xFFFFFFFFu));

    EXPECT_THAT(texts(), ElementsAre("00000000  61 62  |ab|"));
}

TEST_F(HexDump, OfNoBytesWritesNothing)
{
    EXPECT_EQ(0, PLogger::dumpHex(logger.get(), 0, nullptr, 0, 16));

    EXPECT_THAT(texts(), ElementsAre());
}

TEST_F(HexDump, WithoutDataIsRefused)
{
    EXPECT_EQ(-EINVAL, PLogger::dumpHex(logger.get(), 0, nullptr, 1, 16));

    EXPECT_THAT(texts(), ElementsAre());
}

TEST_F(HexDump, AboveTheLevelWritesNothing)
{
    EXPECT_EQ(0, PLogger::dumpHex(logger.get(), 1, "a", 1, 16));

    EXPECT_THAT(texts(), ElementsAre());
}
