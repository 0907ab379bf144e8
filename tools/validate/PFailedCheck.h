// SPDX-License-Identifier: MIT
// PFailedCheck: ends a check from within a helper function.
#ifndef IXLAL_TOOLS_PFAILEDCHECK_H
#define IXLAL_TOOLS_PFAILEDCHECK_H

#include "validate/PVerdict.h"

#include <stdexcept>

class PFailedCheck : public std::runtime_error
{
public:
    PFailedCheck(const std::string& iReason, const std::string& iAdvice)
        : std::runtime_error(iReason), fVerdict(PVerdict::fail(iReason, iAdvice))
    {
    }

    const PVerdict& verdict() const noexcept
    {
        return fVerdict;
    }

private:
    const PVerdict fVerdict;
};

#endif
