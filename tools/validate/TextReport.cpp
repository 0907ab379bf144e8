// SPDX-License-Identifier: MIT
#include "validate/TextReport.h"

#include "shared/ToolTexts.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace
{
constexpr std::size_t kResultWidth = 6;
constexpr std::size_t kNameWidth = 12;
constexpr std::array<const char*, 4> kOutcomes = {"pass", "FAIL", "skip", "known"};

/// The text with blanks at its end.
std::string _padded(std::string iText, std::size_t iWidth)
{
    iText.resize(std::max(iText.size(), iWidth), ' ');
    return iText;
}

/// A text of several lines, each indented by the columns of result and name.
std::string _indented(const std::string& iText)
{
    std::string text;
    std::istringstream in(iText);
    for (std::string line; std::getline(in, line);)
    {
        text += std::string(text.empty() ? 0 : kResultWidth + kNameWidth, ' ');
        text += shownUtf8(line) + "\n";
    }
    return text;
}

/// "1 check", "2 checks".
std::string _counted(std::size_t iCount, const std::string& iOne, const std::string& iMany)
{
    return std::to_string(iCount) + " " + (iCount == 1 ? iOne : iMany);
}
} // namespace

std::string linesOf(const PCheckResult& iResult)
{
    std::string text = _padded(kOutcomes[iResult.outcome], kResultWidth) +
                       _padded(iResult.check, kNameWidth) + _indented(iResult.reason);
    if (!iResult.advice.empty())
    {
        text += std::string(kResultWidth + kNameWidth, ' ') + _indented(iResult.advice);
    }
    return text;
}

std::string conclusionOf(const PLibraryResult& iResult)
{
    const std::string checks = _counted(iResult.count(), "check", "checks");
    const std::size_t skipped = iResult.count(PCheckResult::eSkip);
    std::string text = shownUtf8(iResult.given) + ": ";
    const std::size_t known = iResult.count(PCheckResult::eKnown);
    text += iResult.passed()
                ? (known > 0 ? std::to_string(iResult.count(PCheckResult::ePass)) + " of " : "") +
                      checks + " passed"
                : std::to_string(iResult.count(PCheckResult::eFail)) + " of " + checks + " failed";
    text += known > 0 ? ", " + std::to_string(known) + " with known findings" : "";
    return text + (skipped > 0 ? ", " + std::to_string(skipped) + " skipped" : "") + "\n";
}

std::string summaryOf(const std::vector<PLibraryResult>& iResults)
{
    const auto failed = static_cast<std::size_t>(std::count_if(iResults.begin(), iResults.end(),
                                                               [](const PLibraryResult& iResult)
                                                               { return !iResult.passed(); }));
    const std::string libraries = _counted(iResults.size(), "library", "libraries");
    return failed == 0 ? libraries + " passed\n"
                       : std::to_string(failed) + " of " + libraries + " failed\n";
}
