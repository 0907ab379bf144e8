// SPDX-License-Identifier: MIT
#include "validate/PBaseline.h"

#include "shared/ToolTexts.h"
#include "validate/PValidateError.h"

#include <algorithm>
#include <cerrno>
#include <fnmatch.h>
#include <fstream>
#include <regex>
#include <set>
#include <system_error>

namespace
{
constexpr char kHeader[] =
    "# Findings that ixla-validate --baseline accepts: library, check and finding, with tabs\n"
    "# between them. In a finding, * stands for any text.\n";

std::string _fileName(const std::string& iLibrary)
{
    return iLibrary.substr(iLibrary.find_last_of("/:") + 1);
}

/// The first line of a finding, without control characters.
std::string _firstLine(const PCheckResult& iResult)
{
    return shownUtf8(iResult.reason.substr(0, iResult.reason.find('\n')));
}

/// Whether a text fits a pattern, in which only "*" is special.
bool _fits(const std::string& iText, const std::string& iPattern)
{
    std::string pattern;
    for (const char each : iPattern)
    {
        pattern += each == '*' || each == '\0' ? std::string(1, each) : std::string{'\\', each};
    }
    return ::fnmatch(pattern.c_str(), iText.c_str(), 0) == 0;
}

bool _ran(const PLibraryResult& iResult, const std::string& iCheck)
{
    return std::any_of(iResult.checks.begin(), iResult.checks.end(),
                       [&](const PCheckResult& iEach)
                       { return iEach.check == iCheck && iEach.outcome != PCheckResult::eSkip; });
}
} // namespace

PBaseline::PBaseline(const std::string& iPath)
{
    if (iPath.empty())
    {
        return;
    }
    errno = 0;
    std::ifstream in(iPath);
    std::size_t number = 0;
    for (std::string line; std::getline(in, line);)
    {
        readLine(iPath, ++number, line);
    }
    if (!in.eof())
    {
        throw PValidateError(eExitFile, "cannot read " + iPath + ": " +
                                            std::generic_category().message(errno));
    }
}

void PBaseline::apply(const std::string& iLibrary, PCheckResult& ioResult)
{
    if (ioResult.outcome != PCheckResult::eFail)
    {
        return;
    }
    const std::string text = _firstLine(ioResult);
    for (PEntry& entry : fEntries)
    {
        if (entry.library == _fileName(iLibrary) && entry.check == ioResult.check &&
            _fits(text, entry.text))
        {
            entry.found = true;
            ioResult.outcome = PCheckResult::eKnown;
        }
    }
}

std::vector<std::string> PBaseline::gone(const std::vector<PLibraryResult>& iResults) const
{
    std::vector<std::string> lines;
    for (const PEntry& entry : fEntries)
    {
        const bool checked = std::any_of(iResults.begin(), iResults.end(),
                                         [&](const PLibraryResult& iResult) {
                                             return _fileName(iResult.given) == entry.library &&
                                                    _ran(iResult, entry.check);
                                         });
        if (checked && !entry.found)
        {
            lines.push_back(entry.library + ": " + entry.check + ": " + entry.text);
        }
    }
    return lines;
}

std::string PBaseline::textOf(const std::vector<PLibraryResult>& iResults)
{
    std::set<std::string> lines;
    for (const PLibraryResult& result : iResults)
    {
        for (const PCheckResult& check : result.checks)
        {
            if (check.outcome == PCheckResult::eFail || check.outcome == PCheckResult::eKnown)
            {
                lines.insert(_fileName(result.given) + "\t" + check.check + "\t" +
                             stableText(check) + "\n");
            }
        }
    }
    std::string text = kHeader;
    for (const std::string& line : lines)
    {
        text += line;
    }
    return text;
}

std::string PBaseline::stableText(const PCheckResult& iResult)
{
    static const std::regex sPath("/[^ ]*/");
    static const std::regex sAddress("0x[0-9a-fA-F]+");
    static const std::regex sNumber("(thread|handle|process) [0-9]+");
    static const std::regex sDuration("[0-9]+\\.[0-9]+ s");
    std::string text = std::regex_replace(_firstLine(iResult), sPath, "*/");
    text = std::regex_replace(text, sAddress, "0x*");
    text = std::regex_replace(text, sNumber, "$1 *");
    return std::regex_replace(text, sDuration, "* s");
}

void PBaseline::readLine(const std::string& iPath, std::size_t iNumber, const std::string& iLine)
{
    if (iLine.empty() || iLine.starts_with('#'))
    {
        return;
    }
    const std::size_t first = iLine.find('\t');
    const std::size_t second = first == std::string::npos ? first : iLine.find('\t', first + 1);
    const bool whole = second != std::string::npos && first > 0 && second > first + 1 &&
                       second + 1 < iLine.size() && iLine.find('\0') == std::string::npos;
    if (!whole)
    {
        throw PValidateError(eExitFile,
                             iPath + ":" + std::to_string(iNumber) +
                                 ": expected LIBRARY, CHECK and FINDING with tabs between them");
    }
    fEntries.push_back({iLine.substr(0, first), iLine.substr(first + 1, second - first - 1),
                        iLine.substr(second + 1)});
}
