// SPDX-License-Identifier: MIT
#include "validate/PSession.h"

#include "shared/ToolTexts.h"
#include "validate/EExitCode.h"
#include "validate/JunitReport.h"
#include "validate/PMemoryWatch.h"
#include "validate/PParallelRun.h"
#include "validate/PValidation.h"
#include "validate/SarifReport.h"
#include "validate/TextReport.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>

PSession::PSession(const PValidateOptions& iOptions)
    : fOptions(iOptions),
      fIsSingle(iOptions.arguments.size() == 1 &&
                PSubjectSearch::isLibrary(iOptions.arguments.front())),
      fBaseline(iOptions.baseline),
      fJunit(iOptions.junit),
      fSarif(iOptions.sarif),
      fNewBaseline(iOptions.writeBaseline)
{
}

int PSession::run()
{
    if (fOptions.valgrind)
    {
        PMemoryWatch::expectValgrind();
    }
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
    writeFiles();
    return fNewBaseline || passed() ? eExitPassed : eExitFailed;
}

void PSession::runOne(const PSubject& iSubject)
{
    const PValidateOptions options = fOptions.of(iSubject);
    PValidation validation(options,
                           [this](const PCheckResult& iResult)
                           {
                               if (!fOptions.json)
                               {
                                   std::cout << linesOf(judged(fOptions.arguments.front(), iResult))
                                             << std::flush;
                               }
                           });
    add(validation.run());
    if (!fOptions.json)
    {
        std::cout << conclusionOf(fResults.back());
    }
}

void PSession::runAll()
{
    const auto report = [this](const PLibraryResult& iResult)
    {
        add(iResult);
        if (fOptions.json)
        {
            return;
        }
        for (const PCheckResult& check : fResults.back().checks)
        {
            std::cout << linesOf(check);
        }
        std::cout << conclusionOf(fResults.back()) << '\n' << std::flush;
    };
    PParallelRun(fOptions).run(fSearch.found(), report);
}

void PSession::add(const PLibraryResult& iResult)
{
    fResults.push_back(iResult);
    for (PCheckResult& check : fResults.back().checks)
    {
        check = judged(iResult.given, check);
    }
}

PCheckResult PSession::judged(const std::string& iLibrary, const PCheckResult& iResult)
{
    PCheckResult result = iResult;
    fBaseline.apply(iLibrary, result);
    return result;
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
        std::cout << shownUtf8(file) << ": skipped, it exports no ixlaGetPlugin\n";
    }
    for (const std::string& finding : fBaseline.gone(fResults))
    {
        std::cout << "no longer found: " << shownUtf8(finding) << '\n';
    }
    if (!fIsSingle)
    {
        std::cout << summaryOf(fResults);
    }
}

void PSession::writeFiles()
{
    if (fJunit)
    {
        fJunit.write(junitOf(fResults));
    }
    if (fSarif)
    {
        fSarif.write(sarifOf(fResults));
    }
    if (fNewBaseline)
    {
        fNewBaseline.write(PBaseline::textOf(fResults));
    }
}

bool PSession::passed() const
{
    return std::all_of(fResults.begin(), fResults.end(),
                       [](const PLibraryResult& iResult) { return iResult.passed(); });
}

nlohmann::ordered_json PSession::toJson() const
{
    nlohmann::ordered_json json;
    if (fIsSingle)
    {
        json = fResults.front().toJson();
    }
    else
    {
        json["passed"] = passed();
        json["plugins"] = nlohmann::ordered_json::array();
        for (const PLibraryResult& result : fResults)
        {
            json["plugins"].push_back(result.toJson());
        }
        json["skipped"] = fSearch.skipped();
    }
    if (!fOptions.baseline.empty())
    {
        json["gone"] = fBaseline.gone(fResults);
    }
    return json;
}
