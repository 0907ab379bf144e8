// SPDX-License-Identifier: MIT
// One log written by two threads: lines stay whole, dumps stay together, settings may change.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/Threads.h"

#include "logger/PLogger.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

using schedules::require;
using schedules::requireEqual;

namespace
{
/// A log in the directory of the schedule.
struct Log
{
    Log()
    {
        const std::string path = setup.path("lines.log");
        requireEqual(0,
                     logger.init(std::wstring(path.begin(), path.end()).c_str(), L"test", true, 0,
                                 0, 0, true),
                     "the log is opened");
    }

    void write(const wchar_t* iText)
    {
        requireEqual(0, PLogger::info(&logger, 0, L"%ls", iText), "a line");
    }

    int count(const char* iText) const
    {
        return setup.countLines("lines.log", iText);
    }

    std::vector<std::string> lines() const
    {
        std::ifstream file(setup.path("lines.log"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
        {
            lines.push_back(line);
        }
        return lines;
    }

    const CoreSetup setup;
    PLogger logger;
};
} // namespace

SCENARIO(DumpBesideLines, .jumps = false, .small = true)
{
    Log log;
    runTogether(
        [&]
        {
            const unsigned char bytes[] = {1, 2, 3, 4, 5, 6};
            requireEqual(0, PLogger::dumpHex(&log.logger, 0, bytes, sizeof(bytes), 2), "a dump");
        },
        [&]
        {
            log.write(L"first line");
            log.write(L"second line");
        });
    const std::vector<std::string> lines = log.lines();
    requireEqual(5, static_cast<long long>(lines.size()), "lines");
    const auto isDumped = [](const std::string& iLine)
    {
        return iLine.ends_with("|");
    };
    const auto first = std::find_if(lines.begin(), lines.end(), isDumped);
    const auto end = std::find_if_not(first, lines.end(), isDumped);
    requireEqual(3, end - first, "lines of the dump without others in between");
}

SCENARIO(LevelBesideLines, .jumps = false, .small = true)
{
    Log log;
    runTogether([&] { requireEqual(0, log.logger.setLevel(1), "the level is set"); },
                [&]
                {
                    requireEqual(0, PLogger::info(&log.logger, 1, L"fine first."), "a fine line");
                    log.write(L"usual.");
                    requireEqual(0, PLogger::info(&log.logger, 1, L"fine second."), "a fine line");
                });
    requireEqual(1, log.count("usual."), "the line of the usual level");
    require(log.count("fine first.") <= log.count("fine second."), "the level is set once");
    requireEqual(0, PLogger::info(&log.logger, 1, L"fine third."), "a fine line");
    requireEqual(1, log.count("fine third."), "the fine line after the level was set");
}

// The first line is larger than the room that each thread has for it.
SCENARIO(TwoLongLinesOfOneLog, .jumps = false, .small = true)
{
    Log log;
    const std::wstring first(6000, L'a');
    const std::wstring second(1000, L'b');
    runTogether([&] { log.write(first.c_str()); }, [&] { log.write(second.c_str()); });
    const std::vector<std::string> lines = log.lines();
    requireEqual(2, static_cast<long long>(lines.size()), "lines");
    const bool isFirst = lines[0].ends_with('a');
    require(lines[isFirst ? 0 : 1].ends_with(' ' + std::string(6000, 'a')), "the first line");
    require(lines[isFirst ? 1 : 0].ends_with(' ' + std::string(1000, 'b')), "the second line");
}

SCENARIO(EchoedLinesFromTwoThreads, .jumps = false)
{
    Log log;
    runTogether(
        [&]
        {
            requireEqual(0, log.logger.setPrintOnConsole(true), "lines are echoed");
            log.write(L"first.");
        },
        [&]
        {
            log.write(L"second.");
            requireEqual(0, log.logger.setPrintOnConsole(false), "lines are not echoed");
            log.write(L"third.");
        });
    for (const char* text : {"first.", "second.", "third."})
    {
        requireEqual(1, log.count(text), "the line in the file");
    }
    requireEqual(3, static_cast<long long>(log.lines().size()), "lines");
}

SCENARIO(EchoedLinesOfTwoLoggers, .jumps = false)
{
    Log log;
    PLogger silent;
    requireEqual(0, silent.init(L"/dev/null", L"test", false, 0, 0, 0, true), "the second log");
    requireEqual(0, log.logger.setPrintOnConsole(true), "lines are echoed");
    requireEqual(0, silent.setPrintOnConsole(true), "lines are echoed");
    runTogether(
        [&]
        {
            log.write(L"first.");
            log.write(L"second.");
        },
        [&] { requireEqual(0, PLogger::info(&silent, 0, L"other."), "a line of the other"); });
    requireEqual(2, static_cast<long long>(log.lines().size()), "lines");
}
