// SPDX-License-Identifier: MIT
// Two loggers with one file that becomes full: no line is lost, and no file is larger than allowed.

#include "Scenario.h"
#include "scenarios/support/Threads.h"

#include "logger/PLogger.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

using schedules::require;
using schedules::requireEqual;

namespace
{
constexpr int kParts = 9; ///< so many that no part is deleted

struct Limits
{
    unsigned int size = 0;
    int lines = 0;
    int parts = kParts;
};

std::string _path()
{
    return std::string(schedules::directory()) + "/shared.log";
}

void _open(PLogger& ioLogger, const Limits& iLimits)
{
    const std::string path = _path();
    requireEqual(0,
                 ioLogger.init(std::wstring(path.begin(), path.end()).c_str(), L"test", false,
                               iLimits.size, iLimits.parts, iLimits.lines, true),
                 "the log is opened");
}

void _write(PLogger& ioLogger, const wchar_t* iThread, int iLines)
{
    for (int i = 0; i < iLines; ++i)
    {
        requireEqual(0, PLogger::info(&ioLogger, 0, L"line %ls%d", iThread, i), "a line");
    }
}

void _empty()
{
    const schedules::Reliable reliable;
    for (const fs::directory_entry& entry : fs::directory_iterator(schedules::directory()))
    {
        fs::remove_all(entry);
    }
}

/// The lines of all files; every file is within the limits.
std::vector<std::string> _readAll(const Limits& iLimits)
{
    std::vector<std::string> lines;
    for (const fs::directory_entry& entry : fs::directory_iterator(schedules::directory()))
    {
        require(iLimits.size == 0 || entry.file_size() <= iLimits.size, "the size of a file");
        std::ifstream file(entry.path());
        const std::size_t before = lines.size();
        for (std::string line; std::getline(file, line);)
        {
            lines.push_back(line);
        }
        require(iLimits.lines == 0 || static_cast<int>(lines.size() - before) <= iLimits.lines,
                "the lines of a file");
    }
    return lines;
}

/// Each of iLines lines of both threads is in one of the files, whole and once.
void _checkLines(const Limits& iLimits, int iLines)
{
    const std::vector<std::string> lines = _readAll(iLimits);
    requireEqual(2 * iLines, static_cast<long long>(lines.size()), "lines");
    for (int i = 0; i < 2 * iLines; ++i)
    {
        const std::string text =
            std::string(" line ") + (i < iLines ? "a" : "b") + std::to_string(i % iLines);
        const auto count =
            std::count_if(lines.begin(), lines.end(),
                          [&](const std::string& iLine) { return iLine.ends_with(text); });
        requireEqual(1, count, "the line in the files");
    }
}

void _writeFromTwoLoggers(const Limits& iLimits, int iLines)
{
    _empty();
    PLogger first;
    PLogger second;
    _open(first, iLimits);
    _open(second, iLimits);
    runTogether([&] { _write(first, L"a", iLines); }, [&] { _write(second, L"b", iLines); });
}

/// Room for two lines: the header has a length of its own.
unsigned int _sizeOfTwoLines()
{
    _empty();
    {
        PLogger logger;
        _open(logger, Limits{});
        requireEqual(0, PLogger::info(&logger, 0, L"line a0"), "a line");
    }
    return 2 * static_cast<unsigned int>(fs::file_size(_path()));
}
} // namespace

SCENARIO(TwoLoggersRotateAFileBySize, .jumps = false)
{
    const Limits limits{.size = _sizeOfTwoLines()};
    _writeFromTwoLoggers(limits, 3);
    _checkLines(limits, 3);
}

SCENARIO(TwoLoggersRotateAFileByLines, .jumps = false)
{
    const Limits limits{.lines = 2};
    _writeFromTwoLoggers(limits, 3);
    _checkLines(limits, 3);
}

SCENARIO(TwoLoggersWithOneLineEach, .jumps = false, .small = true)
{
    const Limits limits{.lines = 1};
    _writeFromTwoLoggers(limits, 1);
    _checkLines(limits, 1);
}

SCENARIO(TwoLoggersEmptyAFullFile, .jumps = false)
{
    const Limits limits{.lines = 2, .parts = 0};
    _writeFromTwoLoggers(limits, 3);
    const std::vector<std::string> lines = _readAll(limits);
    require(!lines.empty(), "the last line stays");
    for (const std::string& line : lines)
    {
        require(line.find(" line ") != std::string::npos, "a line is whole");
    }
}

SCENARIO(TwoLoggersAppendToOneFile, .jumps = false, .small = true)
{
    _writeFromTwoLoggers(Limits{}, 3);
    _checkLines(Limits{}, 3);
}

SCENARIO(OneRotatingLoggerFromTwoThreads, .jumps = false, .small = true)
{
    const Limits limits{.lines = 2};
    _empty();
    PLogger logger;
    _open(logger, limits);
    runTogether([&] { _write(logger, L"a", 3); }, [&] { _write(logger, L"b", 3); });
    _checkLines(limits, 3);
}

SCENARIO(LinesOfTwoLoggersThatMayFail, .jumps = false, .faults = true)
{
    const Limits limits{.lines = 2};
    _empty();
    PLogger first;
    PLogger second;
    {
        const schedules::Reliable reliable;
        _open(first, limits);
        _open(second, limits);
    }
    std::atomic<int> written{0};
    const auto write = [&](PLogger& ioLogger)
    {
        for (int i = 0; i < 2; ++i)
        {
            const int result = PLogger::info(&ioLogger, 0, L"line %d", i);
            require(result == 0 || (result < 0 && schedules::hasFault()), "a line");
            written += result == 0 ? 1 : 0;
        }
    };
    runTogether([&] { write(first); }, [&] { write(second); });
    const schedules::Reliable reliable;
    // A file that cannot be renamed grows further.
    const std::vector<std::string> lines = _readAll(schedules::hasFault() ? Limits{} : limits);
    const auto whole = std::count_if(lines.begin(), lines.end(),
                                     [](const std::string& iLine)
                                     { return iLine.find(" line ") != std::string::npos; });
    requireEqual(written, whole, "lines in the files");
    const auto reports = static_cast<long long>(lines.size()) - whole;
    require(reports == 0 || (reports == 1 && written < 4), "reports of lost lines");
}
