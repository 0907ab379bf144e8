// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"

#include <filesystem>

#include <cctype>
#include <unistd.h>

namespace fs = std::filesystem;

int LogTest::init(PLogger& ioLogger, const LogSettings& iSettings)
{
    const std::string path =
        iSettings.file.starts_with('/') ? iSettings.file : dir.file(iSettings.file);
    return ioLogger.init(wide(path), wide(iSettings.tag), iSettings.isNew, iSettings.maxSize,
                         iSettings.parts, iSettings.maxCount, iSettings.enable);
}

std::vector<std::string> LogTest::lines(const std::string& iFile) const
{
    return readLines(dir.file(iFile));
}

std::vector<std::string> LogTest::texts(const std::string& iFile) const
{
    std::vector<std::string> result;
    for (const std::string& line : lines(iFile))
    {
        result.push_back(textOf(line));
    }
    return result;
}

bool LogTest::exists(const std::string& iFile) const
{
    return fs::exists(dir.path() / iFile);
}

int LogTest::handleOf(const std::string& iFile) const
{
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd"))
    {
        std::error_code ignored;
        if (fs::read_symlink(entry.path(), ignored) == dir.path() / iFile)
        {
            return std::stoi(entry.path().filename());
        }
    }
    return -1;
}

std::size_t LogTest::overhead() const
{
    const std::string number = std::to_string(getpid());
    return std::string("YYYY-MM-DD HH:MM:SS.mmm : I tag \n").size() + number.size() +
           std::to_string(gettid()).size();
}

int showMessage(PLogger& ioLogger, const wchar_t* iFormat, ...)
{
    va_list args;
    va_start(args, iFormat);
    const int result = PLogger::showMsgBox(&ioLogger, 0, iFormat, args);
    va_end(args);
    return result;
}

std::string lossReport(int iLines, int iCode)
{
    return "[PLogger] Lost lines: " + std::to_string(iLines) + " err: " + std::to_string(iCode);
}

std::string textOf(const std::string& iLine)
{
    return isWhole(iLine) ? iLine.substr(iLine.find(" tag ") + 5) : "torn: " + iLine;
}

bool isWhole(const std::string& iLine)
{
    const std::string pattern = "0000-00-00 00:00:00.000 ";
    std::size_t at = 0;
    for (; at < pattern.size(); ++at)
    {
        const bool digit = at < iLine.size() && std::isdigit(iLine[at]);
        if (at >= iLine.size() || (pattern[at] == '0' ? !digit : iLine[at] != pattern[at]))
        {
            return false;
        }
    }
    const std::size_t digits = iLine.find_first_not_of("0123456789", at);
    const std::size_t end = digits == std::string::npos
                                ? std::string::npos
                                : iLine.find_first_not_of("0123456789", digits + 1);
    return end != std::string::npos && iLine[digits] == ':' && iLine[end] == ' ' &&
           std::string("DIE").find(iLine[end + 1]) != std::string::npos &&
           iLine.compare(end + 2, 5, " tag ") == 0;
}
