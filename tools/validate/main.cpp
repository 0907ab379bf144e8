// SPDX-License-Identifier: MIT
// ixla-validate: checks whether plugin libraries fulfil the contract of the core.

#include "shared/PStandardOutput.h"
#include "validate/EExitCode.h"
#include "validate/PCheck.h"
#include "validate/PCheckProcess.h"
#include "validate/PSession.h"
#include "validate/PValidateError.h"

#include <exception>
#include <iomanip>
#include <iostream>

namespace
{
void _listChecks()
{
    constexpr int kCheckColumn = 12;
    for (const PCheck& check : allChecks())
    {
        std::cout << std::left << std::setw(kCheckColumn) << check.name << check.summary << '\n';
    }
}

/// Runs a check for the process that started this one.
void _runCheck(const PValidateOptions& iOptions)
{
    for (const PCheck& check : allChecks())
    {
        if (check.name == iOptions.check)
        {
            PCheckProcess::runHere(check, iOptions.of({"", iOptions.arguments.front(), ""}),
                                   iOptions.results);
        }
    }
}

int _main(int iCount, char** iArguments)
{
    try
    {
        PValidateOptions options;
        int exitCode = eExitPassed;
        if (!options.parse(iCount, iArguments, exitCode))
        {
            return exitCode;
        }
        if (!options.check.empty())
        {
            _runCheck(options);
        }
        if (options.list)
        {
            _listChecks();
            return eExitPassed;
        }
        return PSession(options).run();
    }
    catch (const PValidateError& problem)
    {
        std::cerr << "ixla-validate: " << problem.what() << '\n';
        return problem.exitCode();
    }
    catch (const std::exception& problem)
    {
        std::cerr << "ixla-validate: " << problem.what() << '\n';
        return eExitFailed;
    }
}
} // namespace

int main(int iCount, char** iArguments)
{
    PStandardOutput output("ixla-validate");
    return output.exitCode(_main(iCount, iArguments));
}
