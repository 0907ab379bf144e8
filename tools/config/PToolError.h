// SPDX-License-Identifier: MIT
// PToolError: why the tool cannot do what it was asked.
#ifndef IXLAL_TOOLS_PTOOLERROR_H
#define IXLAL_TOOLS_PTOOLERROR_H

#include <stdexcept>
#include <string>

/// Exit codes, the same for every subcommand.
enum EExitCode : int
{
    eExitOk = 0,
    eExitFailed = 1, ///< not found, findings, or the core refused
    eExitUsage = 2
};

/// What is wrong, where, and what to do.
class PToolError : public std::runtime_error
{
public:
    explicit PToolError(const std::string& iText, EExitCode iCode = eExitFailed)
        : std::runtime_error(iText), fCode(iCode)
    {
    }

    EExitCode code() const noexcept
    {
        return fCode;
    }

private:
    EExitCode fCode;
};

#endif
