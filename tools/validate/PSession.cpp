// SPDX-License-Identifier: MIT
#include "validate/PSession.h"

#include "helpers/Text.h"
#include "shared/ToolTexts.h"
#include "validate/EExitCode.h"
#include "validate/PParallelRun.h"
#include "validate/PValidation.h"
#include "validate/TextReport.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>

PSession::PSession(const PValidateOptions& iOptions)
    : fOptions(iOptions),
      fIsSingle(iOptions.arguments.size() == 1 &&
                PSubjectSearch::isLibrary(iOptions.arguments.front()))
{
}

int PSession::run()
{
    for (const std::string& argument : fOptions.arguments)
    {
        fSearch.add(argument);
    }
    const auto* const only = std::get_if<PSubject>(&fSearch.found().front());
    if (fIsSingle && only)
    {
        runOne(*only);
    }
    else
    {
        runAll();
    }
    conclude();
    return std::all_of(fResults.begin(), fResults.end(),
                       [](const PLibraryResult& iResult) { return iResult.passed(); })
               ? eExitPassed
               : eExitFailed;
}

void PSession::runOne(const PSubject& iSubject)
{
    const PValidateOptions options = fOptions.of(iSubject);
    PValidation validation(options,
                           [this](const PCheckResult& iResult)
                           {
                               if (!fOptions.json)
                               {
                                   std::cout << linesOf(iResult) << std::flush;
                               }
                           });
    fResults.push_back(validation.run());
    if (!fOptions.json)
    {
        std::cout << conclusionOf(fResults.back());
    }
}

void PSession::runAll()
{
    const auto report = [this](const PLibraryResult& iResult)
    {
        fResults.push_back(iResult);
        if (fOptions.json)
        {
            return;
        }
        for (const PCheckResult& check : iResult.checks)
        {
            std::cout << linesOf(check);
        }
        std::cout << conclusionOf(iResult) << '\n' << std::flush;
    };
    PParallelRun(fOptions).run(fSearch.found(), report);
}

void PSession::conclude() const
{
    if (fOptions.json)
    {
        const auto replace = nlohmann::ordered_json::error_handler_t::replace;
        std::cout << toJson().dump(2, ' ', false, replace) << '\n';
        return;
    }
    for (const std::string& file : fSearch.skipped())
    {
        std::cout << shownText(ixlaWide(file)) << ": skipped, it exports no ixlaGetPlugin\n";
    }
    if (!fIsSingle)
    {
        std::cout << summaryOf(fResults);
    }
}

nlohmann::ordered_json PSession::toJson() const
{
    if (fIsSingle)
    {
        return fResults.front().toJson();
    }
    nlohmann::ordered_json plugins = nlohmann::ordered_json::array();
    bool passed = true;
    for (const PLibraryResult& result : fResults)
    {
        plugins.push_back(result.toJson());
        passed = passed && result.passed();
    }
    return {{"passed", passed}, {"plugins", plugins}, {"skipped", fSearch.skipped()}};
}
