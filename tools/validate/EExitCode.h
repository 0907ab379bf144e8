// SPDX-License-Identifier: MIT
// EExitCode: the exit codes of ixla-validate.
#ifndef IXLAL_TOOLS_VALIDATE_EEXITCODE_H
#define IXLAL_TOOLS_VALIDATE_EEXITCODE_H

enum EExitCode
{
    eExitPassed = 0,
    eExitFailed = 1,
    eExitUsage = 2,
    eExitProgram = 3, ///< a needed program is missing or does not run
    eExitFile = 4     ///< a report or baseline cannot be written or read
};

#endif
