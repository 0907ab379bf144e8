// SPDX-License-Identifier: MIT
// PValidateError: ends the program with an exit code.
#ifndef IXLAL_TOOLS_PVALIDATEERROR_H
#define IXLAL_TOOLS_PVALIDATEERROR_H

#include "validate/EExitCode.h"

#include <stdexcept>
#include <string>

class PValidateError : public std::runtime_error
{
public:
    PValidateError(EExitCode iExitCode, const std::string& iText)
        : std::runtime_error(iText), fExitCode(iExitCode)
    {
    }

    EExitCode exitCode() const noexcept
    {
        return fExitCode;
    }

private:
    const EExitCode fExitCode;
};

#endif
