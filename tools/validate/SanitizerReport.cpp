// SPDX-License-Identifier: MIT
#include "validate/SanitizerReport.h"

#include <cstdlib>
#include <sstream>

const char kSanitizerFrames[] = "frame|%m|%f|%s|%l";

namespace
{
constexpr char kError[] = "ERROR: AddressSanitizer: ";
constexpr char kLeak[] = "Direct leak of ";
constexpr char kUndefined[] = ": runtime error: ";
constexpr char kFrame[] = "frame|";

/// The error or leak that is being read.
struct Current
{
    std::string what; ///< empty for none
    bool isLeak = false;
    bool hasFrames = false;
    bool isPlaced = false; ///< a frame in the plugin was found
    PMemoryFinding finding;
};

/// The kind of an error, without addresses.
std::string _kindOf(const std::string& iText)
{
    return iText.substr(0, std::min(iText.find(" on "), iText.find(" (")));
}

/// Reads "module|function|file|line"; a function may have a "|" in its name.
void _readFrame(const std::string& iFrame, const std::string& iPlugin, Current& ioCurrent)
{
    const std::size_t module = iFrame.find('|');
    const std::size_t line = iFrame.rfind('|');
    const std::size_t file = iFrame.rfind('|', line - 1);
    ioCurrent.hasFrames = true;
    if (ioCurrent.isPlaced || module >= file || iFrame.substr(0, module) != iPlugin)
    {
        return;
    }
    ioCurrent.isPlaced = true;
    const std::string source = iFrame.substr(file + 1, line - file - 1);
    const unsigned long number = std::strtoul(iFrame.c_str() + line + 1, nullptr, 10);
    ioCurrent.finding =
        PMemoryFinding::at(ioCurrent.what, iFrame.substr(module + 1, file - module - 1),
                           source == "<null>" ? "" : source, static_cast<unsigned int>(number));
}

/// The finding of a line "FILE:LINE:COLUMN: runtime error: TEXT".
PMemoryFinding _undefinedAt(const std::string& iLine, std::size_t iMark)
{
    const std::size_t column = iLine.rfind(':', iMark - 1);
    const std::size_t number = column == std::string::npos ? column : iLine.rfind(':', column - 1);
    const std::string what = iLine.substr(iMark + sizeof kUndefined - 1);
    if (number == std::string::npos)
    {
        return {what, "", 0};
    }
    const unsigned long line = std::strtoul(iLine.c_str() + number + 1, nullptr, 10);
    return PMemoryFinding::at(what, "", iLine.substr(0, number), static_cast<unsigned int>(line));
}

/// Ends an error or leak.
void _finish(Current& ioCurrent, std::vector<PMemoryFinding>& ioFindings)
{
    if (ioCurrent.isPlaced)
    {
        ioFindings.push_back(ioCurrent.finding);
    }
    else if (!ioCurrent.what.empty() && !ioCurrent.isLeak)
    {
        ioFindings.push_back({ioCurrent.what, "", 0});
    }
    ioCurrent = Current();
}
} // namespace

std::vector<PMemoryFinding> sanitizerFindings(const std::string& iReport,
                                              const std::string& iPlugin)
{
    std::vector<PMemoryFinding> findings;
    Current current;
    std::istringstream in(iReport);
    for (std::string line; std::getline(in, line);)
    {
        const std::size_t error = line.find(kError);
        const std::size_t leak = line.find(kLeak);
        const std::size_t frame = line.find(kFrame);
        const std::size_t undefined = line.find(kUndefined);
        if (error != std::string::npos)
        {
            _finish(current, findings);
            current.what = _kindOf(line.substr(error + sizeof kError - 1));
        }
        else if (leak != std::string::npos)
        {
            _finish(current, findings);
            current.what = line.substr(leak, line.find(" allocated from") - leak);
            current.isLeak = true;
        }
        else if (undefined != std::string::npos)
        {
            findings.push_back(_undefinedAt(line, undefined));
        }
        else if (frame != std::string::npos && !current.what.empty())
        {
            _readFrame(line.substr(frame + sizeof kFrame - 1), iPlugin, current);
        }
        else if (current.hasFrames)
        {
            _finish(current, findings); // further stacks tell where the memory came from
        }
    }
    _finish(current, findings);
    return findings;
}
