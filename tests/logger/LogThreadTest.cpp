// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"

#include <barrier>
#include <filesystem>
#include <functional>
#include <set>
#include <thread>

namespace fs = std::filesystem;

namespace
{
class LogThreads : public LogTest
{
protected:
    enum
    {
        eThreads = 8,
        eLines = 500
    };

    /// Runs iAction(number of the thread) on all threads at once.
    static void run(const std::function<void(int)>& iAction)
    {
        std::barrier<> start(eThreads);
        std::vector<std::jthread> threads;
        threads.reserve(eThreads);
        for (int number = 0; number < eThreads; ++number)
        {
            threads.emplace_back(
                [&start, &iAction, number]
                {
                    start.arrive_and_wait();
                    iAction(number);
                });
        }
    }

    /// Writes eLines lines on each thread, alternating between short and long ones.
    void writeAll(PLogger& ioLogger)
    {
        run(
            [&ioLogger](int iNumber)
            {
                for (int i = 0; i < eLines; ++i)
                {
                    const int padding = i % 50 == 0 ? 2000 : 1;
                    EXPECT_EQ(0,
                              PLogger::info(&ioLogger, 0, L"%d/%d%*ls", iNumber, i, padding, L"."));
                }
            });
    }

    /// The lines of the threads in all files of the directory, without the padding.
    std::multiset<std::string> written() const
    {
        std::multiset<std::string> result;
        for (const fs::directory_entry& entry : fs::directory_iterator(dir.path()))
        {
            for (const std::string& text : texts(entry.path().filename()))
            {
                result.insert(text.substr(0, text.find_first_of(" .")));
            }
        }
        return result;
    }

    static std::multiset<std::string> expected()
    {
        std::multiset<std::string> result;
        for (int i = 0; i < eThreads * eLines; ++i)
        {
            result.insert(std::to_string(i / eLines) + "/" + std::to_string(i % eLines));
        }
        return result;
    }
};
} // namespace

TEST_F(LogThreads, NeitherLoseNorMixLines)
{
    init();

    writeAll(*logger);

    EXPECT_EQ(expected(), written());
}

TEST_F(LogThreads, NeitherLoseNorMixLinesWhileFilesRotate)
{
    init({.maxSize = 20000, .parts = 1000});

    writeAll(*logger);

    EXPECT_EQ(expected(), written());
    EXPECT_TRUE(exists("test.log.3"));
}

TEST_F(LogThreads, RotateByLinesExactly)
{
    init({.parts = 1000, .maxCount = 100});

    writeAll(*logger);

    EXPECT_EQ(expected(), written());
    for (int part = 1; part < eThreads * eLines / 100; ++part)
    {
        EXPECT_EQ(100u, lines("test.log." + std::to_string(part)).size());
    }
}

TEST_F(LogThreads, LinesOfOneDumpStayTogether)
{
    init();

    run(
        [this](int iNumber)
        {
            const std::string bytes(16, static_cast<char>('a' + iNumber));
            for (int i = 0; i < 50; ++i)
            {
                PLogger::dumpHex(logger.get(), 0, bytes.data(), 16, 4);
            }
        });

    const std::vector<std::string> dumped = texts();
    ASSERT_EQ(4u * 50u * eThreads, dumped.size());
    for (std::size_t i = 0; i < dumped.size(); ++i)
    {
        EXPECT_EQ(std::to_string(i % 4 * 4), std::to_string(std::stoul(dumped[i], nullptr, 16)));
        EXPECT_EQ(dumped[i - i % 4].substr(8), dumped[i].substr(8));
    }
}

TEST_F(LogThreads, MayChangeLevelAndConsoleWhileOthersWrite)
{
    init();

    run(
        [this](int iNumber)
        {
            for (int i = 0; i < eLines; ++i)
            {
                if (iNumber == 0)
                {
                    logger->setLevel(i % 2);
                    logger->setPrintOnConsole(false);
                }
                PLogger::info(logger.get(), 1, L"sometimes");
                PLogger::error(logger.get(), 1, L"always");
            }
        });

    int always = 0;
    for (const std::string& text : texts())
    {
        always += text == "always";
    }
    EXPECT_EQ(eThreads * eLines, always);
}

TEST_F(LogThreads, TimesOfALogNeverGoBack)
{
    init();

    writeAll(*logger);

    std::string last;
    for (const std::string& line : lines())
    {
        const std::string time = line.substr(0, 23);
        EXPECT_LE(last, time);
        last = time;
    }
}
