// SPDX-License-Identifier: MIT
#include "validate/JunitReport.h"

#include "shared/ToolTexts.h"

#include <cstdio>
#include <sstream>

namespace
{
/// The text without characters that XML forbids; line breaks stay.
std::string _escaped(const std::string& iText)
{
    std::istringstream in(iText);
    std::string text;
    for (std::string line; std::getline(in, line);)
    {
        text += text.empty() ? "" : "&#10;";
        for (const char each : shownUtf8(line))
        {
            text += each == '&'   ? "&amp;"
                    : each == '<' ? "&lt;"
                    : each == '>' ? "&gt;"
                    : each == '"' ? "&quot;"
                                  : std::string(1, each);
        }
    }
    return text;
}

std::string _attribute(const std::string& iName, const std::string& iValue)
{
    return " " + iName + "=\"" + _escaped(iValue) + "\"";
}

std::string _timeOf(double iSeconds)
{
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.3f", iSeconds);
    return _attribute("time", text);
}

std::string _elementOf(const PCheckResult& iResult)
{
    switch (iResult.outcome)
    {
    case PCheckResult::eFail:
        return "      <failure" + _attribute("message", iResult.reason) +
               _attribute("type", iResult.check) + ">" + _escaped(iResult.advice) + "</failure>\n";
    case PCheckResult::eSkip:
        return "      <skipped" + _attribute("message", iResult.reason) + "/>\n";
    case PCheckResult::eKnown:
        return "      <skipped" + _attribute("message", "known: " + iResult.reason) + "/>\n";
    default:
        return "";
    }
}

/// Findings of the same check follow each other and belong to one case.
std::string _casesOf(const PLibraryResult& iResult)
{
    std::string text;
    for (std::size_t i = 0; i < iResult.checks.size();)
    {
        const std::string& name = iResult.checks[i].check;
        std::string elements;
        double seconds = 0;
        for (; i < iResult.checks.size() && iResult.checks[i].check == name; ++i)
        {
            elements += _elementOf(iResult.checks[i]);
            seconds += iResult.checks[i].seconds;
        }
        text += "    <testcase" + _attribute("name", name) + _attribute("classname", iResult.given);
        text += _timeOf(seconds);
        text += elements.empty() ? "/>\n" : ">\n" + elements + "    </testcase>\n";
    }
    return text;
}

/// The counts of some libraries as attributes.
std::string _countsOf(const std::vector<PLibraryResult>& iResults)
{
    std::size_t tests = 0;
    std::size_t failures = 0;
    std::size_t skipped = 0;
    double seconds = 0;
    for (const PLibraryResult& result : iResults)
    {
        tests += result.count();
        failures += result.count(PCheckResult::eFail);
        skipped += result.count(PCheckResult::eSkip) + result.count(PCheckResult::eKnown);
        for (const PCheckResult& check : result.checks)
        {
            seconds += check.seconds;
        }
    }
    return _attribute("tests", std::to_string(tests)) +
           _attribute("failures", std::to_string(failures)) + _attribute("errors", "0") +
           _attribute("skipped", std::to_string(skipped)) + _timeOf(seconds);
}
} // namespace

std::string junitOf(const std::vector<PLibraryResult>& iResults)
{
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" +
                       _attribute("name", "ixla-validate") + _countsOf(iResults) + ">\n";
    for (const PLibraryResult& result : iResults)
    {
        text += "  <testsuite" + _attribute("name", result.given) + _countsOf({result}) + ">\n" +
                _casesOf(result) + "  </testsuite>\n";
    }
    return text + "</testsuites>\n";
}
