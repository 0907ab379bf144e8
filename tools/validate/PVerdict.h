// SPDX-License-Identifier: MIT
// PVerdict: the result of a check.
#ifndef IXLAL_TOOLS_PVERDICT_H
#define IXLAL_TOOLS_PVERDICT_H

#include <string>

struct PVerdict
{
    static PVerdict pass(const std::string& iReason)
    {
        return {true, iReason, ""};
    }

    static PVerdict fail(const std::string& iReason, const std::string& iAdvice)
    {
        return {false, iReason, iAdvice};
    }

    bool passed = false;
    std::string reason; ///< the finding
    std::string advice; ///< how to fix it; empty for a pass
};

#endif
