// SPDX-License-Identifier: MIT
#include "validate/PValidation.h"

#include "validate/PCheckProcess.h"

#include <algorithm>
#include <chrono>

namespace
{
std::string _needs(const std::string& iCheck)
{
    return "needs the check \"" + iCheck + "\"";
}
} // namespace

PValidation::PValidation(const PValidateOptions& iOptions, const Listener& iListener)
    : fOptions(iOptions), fListener(iListener), fMemory(iOptions)
{
}

PLibraryResult PValidation::run()
{
    PLibraryResult result;
    result.given = fOptions.given;
    for (const PCheck& check : allChecks())
    {
        if (!isWanted(check))
        {
            continue;
        }
        result.checks.push_back(runCheck(check));
        if (result.checks.back().outcome != PCheckResult::ePass)
        {
            fMissing.insert(check.name);
        }
        fListener(result.checks.back());
    }
    for (PCheckResult found : fMemory.results())
    {
        if (found.outcome == PCheckResult::ePass && fMissing.count("loads") > 0)
        {
            found = {found.check, PCheckResult::eSkip, _needs("loads"), "", 0, "", 0};
        }
        result.checks.push_back(found);
        fListener(found);
    }
    return result;
}

bool PValidation::isWanted(const PCheck& iCheck) const
{
    const std::vector<std::string>& only = fOptions.only;
    return only.empty() || std::find(only.begin(), only.end(), iCheck.name) != only.end();
}

PCheckResult PValidation::runCheck(const PCheck& iCheck)
{
    if (iCheck.needs && fMissing.count(iCheck.needs) > 0)
    {
        return {iCheck.name, PCheckResult::eSkip, _needs(iCheck.needs), "", 0, "", 0};
    }
    const auto begin = std::chrono::steady_clock::now();
    PCheckProcess process(iCheck, fOptions, fScratch.path().string(),
                          fMemory.launchOf(iCheck.name));
    const PVerdict verdict = process.wait();
    fMemory.collect(iCheck.name, process.output());
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    return {iCheck.name,
            verdict.passed ? PCheckResult::ePass : PCheckResult::eFail,
            verdict.reason,
            verdict.advice,
            taken.count(),
            "",
            0};
}
