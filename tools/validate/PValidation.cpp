// SPDX-License-Identifier: MIT
#include "validate/PValidation.h"

#include "helpers/Text.h"
#include "shared/ToolTexts.h"
#include "validate/PCheckProcess.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace
{
constexpr int kResultWidth = 6;
constexpr int kNameWidth = 12;

/// A text of several lines, each indented by the columns of result and name.
std::string _indented(const std::string& iText)
{
    std::string text;
    std::istringstream in(iText);
    for (std::string line; std::getline(in, line);)
    {
        text += std::string(text.empty() ? 0 : kResultWidth + kNameWidth, ' ');
        text += shownText(ixlaWide(line)) + "\n";
    }
    return text;
}
} // namespace

PValidation::PValidation(const PValidateOptions& iOptions) : fOptions(iOptions)
{
    fReport["plugin"] = fOptions.given;
    fReport["passed"] = true;
    fReport["checks"] = nlohmann::ordered_json::array();
}

bool PValidation::run()
{
    for (const PCheck& check : allChecks())
    {
        if (isWanted(check))
        {
            runCheck(check);
        }
    }
    fReport["passed"] = fMissing.empty();
    conclude();
    return fMissing.empty();
}

bool PValidation::isWanted(const PCheck& iCheck) const
{
    const std::vector<std::string>& only = fOptions.only;
    return only.empty() || std::find(only.begin(), only.end(), iCheck.name) != only.end();
}

void PValidation::runCheck(const PCheck& iCheck)
{
    ++fRun;
    if (iCheck.needs && fMissing.count(iCheck.needs) > 0)
    {
        fMissing.insert(iCheck.name);
        const std::string reason = "needs the check \"" + std::string(iCheck.needs) + "\"";
        report(iCheck, "skip", PVerdict::pass(reason), 0);
        return;
    }
    std::cout.flush();
    const auto begin = std::chrono::steady_clock::now();
    const PVerdict verdict = PCheckProcess(iCheck, fOptions, fScratch.path().string()).wait();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    if (!verdict.passed)
    {
        ++fFailed;
        fMissing.insert(iCheck.name);
    }
    report(iCheck, verdict.passed ? "pass" : "FAIL", verdict, taken.count());
}

void PValidation::report(const PCheck& iCheck, const std::string& iResult, const PVerdict& iVerdict,
                         double iSeconds)
{
    if (fOptions.json)
    {
        fReport["checks"].push_back({{"name", iCheck.name},
                                     {"result", iResult == "FAIL" ? "fail" : iResult},
                                     {"reason", iVerdict.reason},
                                     {"advice", iVerdict.advice},
                                     {"seconds", std::round(iSeconds * 1000) / 1000}});
        return;
    }
    std::cout << std::left << std::setw(kResultWidth) << iResult << std::setw(kNameWidth)
              << iCheck.name << _indented(iVerdict.reason);
    if (!iVerdict.advice.empty())
    {
        std::cout << std::string(kResultWidth + kNameWidth, ' ') << _indented(iVerdict.advice);
    }
}

void PValidation::conclude() const
{
    if (fOptions.json)
    {
        const auto replace = nlohmann::ordered_json::error_handler_t::replace;
        std::cout << fReport.dump(2, ' ', false, replace) << '\n';
        return;
    }
    std::cout << shownText(ixlaWide(fOptions.given)) << ": ";
    if (fMissing.empty())
    {
        std::cout << fRun << (fRun == 1 ? " check" : " checks") << " passed\n";
        return;
    }
    std::cout << fFailed << " of " << fRun << (fRun == 1 ? " check" : " checks") << " failed";
    const std::size_t skipped = fMissing.size() - static_cast<std::size_t>(fFailed);
    std::cout << (skipped > 0 ? ", " + std::to_string(skipped) + " skipped" : "") << '\n';
}
