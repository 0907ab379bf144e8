// SPDX-License-Identifier: MIT
// PToolError: an error that ends the tool.
#ifndef IXLAL_TOOLS_PTOOLERROR_H
#define IXLAL_TOOLS_PTOOLERROR_H

#include <stdexcept>
#include <string>

/// Exit codes, the same for every subcommand.
enum EExitCode : int
{
    eExitOk = 0,
    eExitFailed = 1, ///< not found, findings, or refused by the core
    eExitUsage = 2
};

/// The text says what is wrong, where, and how to fix it.
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
