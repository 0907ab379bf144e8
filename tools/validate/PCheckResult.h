// SPDX-License-Identifier: MIT
// PCheckResult: what a check of one library found.
#ifndef IXLAL_TOOLS_PCHECKRESULT_H
#define IXLAL_TOOLS_PCHECKRESULT_H

#include <string>

struct PCheckResult
{
    enum EOutcome
    {
        ePass,
        eFail,
        eSkip ///< the check did not run
    };

    std::string check;
    EOutcome outcome = ePass;
    std::string reason; ///< the finding, if it failed
    std::string advice; ///< how to fix it; empty for none
    double seconds = 0;
};

#endif
