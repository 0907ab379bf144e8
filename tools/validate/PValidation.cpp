// SPDX-License-Identifier: MIT
#include "validate/PValidation.h"

#include "validate/PCheckProcess.h"

#include <algorithm>
#include <chrono>

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
    for (const PCheckResult& found : fMemory.results())
    {
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
        const std::string reason = "needs the check \"" + std::string(iCheck.needs) + "\"";
        return {iCheck.name, PCheckResult::eSkip, reason, "", 0, "", 0};
    }
    const auto begin = std::chrono::steady_clock::now();
    const PVerdict verdict =
        PCheckProcess(iCheck, fOptions, fScratch.path().string(), fMemory.launchOf(iCheck.name))
            .wait();
    fMemory.collect(iCheck.name);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    return {iCheck.name,
            verdict.passed ? PCheckResult::ePass : PCheckResult::eFail,
            verdict.reason,
            verdict.advice,
            taken.count(),
            "",
            0};
}
