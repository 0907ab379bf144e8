// SPDX-License-Identifier: MIT
// PVerdict: what a check found.
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
    std::string reason; ///< what was seen
    std::string advice; ///< what the author does about it; empty for a pass
};

#endif
