// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace fs = std::filesystem;

namespace
{
constexpr int kLines = 5000;
constexpr unsigned int kSize = 2000;
constexpr std::size_t kLongest = 100;

/// Two loggers with the same settings write one file, in threads of one process or in two
/// processes.
class LogWriters : public LogTest, public testing::WithParamInterface<bool>
{
protected:
    /// Writes lines of different lengths, numbered by their writer.
    void writeAll(char iWriter, const LogSettings& iSettings)
    {
        PLogger own;
        init(own, iSettings);
        for (int i = 0; i < kLines; ++i)
        {
            EXPECT_EQ(0, PLogger::info(&own, 0, L"%c %d %*ls", iWriter, i, i % 40, L"."));
        }
    }

    void writeTwice(const LogSettings& iSettings)
    {
        if (!GetParam())
        {
            std::jthread other([&] { writeAll('a', iSettings); });
            writeAll('b', iSettings);
            return;
        }
        const pid_t child = fork();
        writeAll(child == 0 ? 'a' : 'b', iSettings);
        if (child == 0)
        {
            _exit(HasFailure());
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(0, status);
    }

    /// The files from the oldest to the current one.
    std::vector<std::string> parts() const
    {
        std::vector<std::string> names = {"test.log"};
        while (exists("test.log." + std::to_string(names.size())))
        {
            names.push_back("test.log." + std::to_string(names.size()));
        }
        std::reverse(names.begin(), names.end());
        return names;
    }

    /// Checks that the files have the lines from iFirst on, each once and in order.
    void expectFrom(std::map<char, int> ioNext) const
    {
        for (const std::string& part : parts())
        {
            for (const std::string& text : texts(part))
            {
                int& next = ioNext[text[0]];
                const int number = std::stoi(text.substr(2));
                EXPECT_EQ(next < 0 ? number : next, number) << part << ": " << text;
                next = number + 1;
            }
        }
        EXPECT_EQ(kLines, ioNext['a']);
        EXPECT_EQ(kLines, ioNext['b']);
    }

    void expectFullParts() const
    {
        for (const std::string& part : parts())
        {
            const std::uintmax_t size = fs::file_size(dir.path() / part);
            EXPECT_LE(size, kSize) << part;
            EXPECT_GT(size + (part == "test.log" ? kSize : kLongest), kSize) << part;
        }
    }
};
} // namespace

TEST_P(LogWriters, LoseNoLineWhilePartsAreLeft)
{
    writeTwice({.maxSize = kSize, .parts = 100000});

    expectFrom({{'a', 0}, {'b', 0}});
    expectFullParts();
}

TEST_P(LogWriters, KeepTheNewestLines)
{
    writeTwice({.maxSize = kSize, .parts = 200});

    EXPECT_EQ(201u, parts().size());
    expectFrom({{'a', -1}, {'b', -1}});
    expectFullParts();
}

TEST_P(LogWriters, RotateByLinesExactly)
{
    writeTwice({.parts = 100000, .maxCount = 50});

    expectFrom({{'a', 0}, {'b', 0}});
    for (const std::string& part : parts())
    {
        EXPECT_EQ(50u, lines(part).size()) << part;
    }
}

TEST_P(LogWriters, KeepTheLimitWithoutParts)
{
    writeTwice({.maxSize = kSize});

    EXPECT_THAT(parts(), ElementsAre("test.log"));
    EXPECT_LE(fs::file_size(dir.path() / "test.log"), kSize);
    EXPECT_TRUE(std::ranges::all_of(lines(), &isWhole));
}

INSTANTIATE_TEST_SUITE_P(Of, LogWriters, testing::Bool(),
                         [](const auto& iInfo) { return iInfo.param ? "Processes" : "Threads"; });

namespace
{
class LogTurn : public LogTest
{
protected:
    /// Holds the lock of the file until the end of the test.
    void occupy()
    {
        fHolder = open(dir.file("test.log").c_str(), O_RDONLY | O_CLOEXEC);
        ASSERT_EQ(0, flock(fHolder, LOCK_EX | LOCK_NB));
    }

    void release()
    {
        close(fHolder);
    }

private:
    int fHolder = -1;
};
} // namespace

TEST_F(LogTurn, ThatIsNeverReleasedLosesNoLine)
{
    init({.parts = 5, .maxCount = 1});
    occupy();

    for (const char* text : {"a", "b", "c"})
    {
        EXPECT_EQ(0, info(text));
    }

    EXPECT_THAT(texts(), ElementsAre("a", "b", "c"));
    release();
}

TEST_F(LogTurn, ThatIsReleasedLetsTheFileRotateAgain)
{
    init({.parts = 5, .maxCount = 1});
    occupy();
    info("a");
    info("b");
    release();

    info("c");

    EXPECT_THAT(texts("test.log.1"), ElementsAre("a", "b"));
    EXPECT_THAT(texts(), ElementsAre("c"));
}

TEST_F(LogTurn, IsWaitedForAWholeSecond)
{
    init({.parts = 5, .maxCount = 1});
    occupy();
    const auto begun = std::chrono::steady_clock::now();

    EXPECT_EQ(0, info("a"));

    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::seconds(1));
    release();
}

TEST_F(LogTurn, IsNotNeededWithoutLimits)
{
    init();
    occupy();

    EXPECT_EQ(0, info("a"));

    EXPECT_THAT(texts(), ElementsAre("a"));
    release();
}

namespace
{
class LogMoved : public LogTest
{
};
} // namespace

TEST_F(LogMoved, FileWithALimitIsDetectedAtTheNextLine)
{
    init({.maxSize = 100000, .parts = 2});
    info("a");
    fs::rename(dir.path() / "test.log", dir.path() / "saved.log");

    info("b");

    EXPECT_THAT(texts("saved.log"), ElementsAre("a"));
    EXPECT_THAT(texts(), ElementsAre("b"));
}

TEST_F(LogMoved, LinesThatOthersAppendCount)
{
    init({.parts = 1, .maxCount = 3});
    info("a");
    std::ofstream(dir.path() / "test.log", std::ios::app) << "foreign\ntorn";

    info("b");

    EXPECT_THAT(lines("test.log.1"), ElementsAre(HasSubstr(" a"), "foreign", "torn"));
    EXPECT_THAT(texts(), ElementsAre("b"));
}

namespace
{
/// A log that appends to a large file.
class LogOnLarge : public LogTest
{
protected:
    void SetUp() override
    {
        const std::string lines(64, '\n');
        dir.write("test.log", lines);
        fs::resize_file(dir.path() / "test.log", kBytes);
    }

    /// The number of bytes that the process has read.
    static unsigned long long bytesRead()
    {
        std::ifstream file("/proc/self/io");
        std::string name;
        unsigned long long count = 0;
        file >> name >> count;
        return name == "rchar:" ? count : 0;
    }

    /// The bytes that opening the log reads.
    unsigned long long readAtOpening(const LogSettings& iSettings)
    {
        const unsigned long long before = bytesRead();
        init(iSettings);
        return bytesRead() - before;
    }

    static constexpr std::uintmax_t kBytes = 64 << 20;
};
} // namespace

TEST_F(LogOnLarge, FileReadsNoMoreThanTheLinesOfTheLimit)
{
    EXPECT_LT(readAtOpening({.parts = 1, .maxCount = 64}), 1u << 20);

    info("a");

    EXPECT_EQ(kBytes, fs::file_size(dir.path() / "test.log.1"));
    EXPECT_THAT(texts(), ElementsAre("a"));
}

TEST_F(LogOnLarge, FileIsNotReadWhenItsSizeIsEnough)
{
    EXPECT_LT(readAtOpening({.maxSize = 1000, .parts = 1, .maxCount = 1000000}), 1u << 20);

    info("a");

    EXPECT_THAT(texts(), ElementsAre("a"));
}

TEST_F(LogOnLarge, FileWithFewerLinesIsReadToItsEnd)
{
    EXPECT_GE(readAtOpening({.parts = 1, .maxCount = 65}), kBytes);

    // The last line has no line end, and it fills the file.
    info("a");

    EXPECT_EQ(kBytes, fs::file_size(dir.path() / "test.log.1"));
    EXPECT_THAT(texts(), ElementsAre("a"));
}
