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
        eSkip, ///< the check did not run
        eKnown ///< it failed with a finding of the baseline
    };

    std::string check;
    EOutcome outcome = ePass;
    std::string reason; ///< the finding, if it failed
    std::string advice; ///< how to fix it; empty for none
    double seconds = 0;
    std::string source;    ///< the source file of the finding; empty if it is not known
    unsigned int line = 0; ///< in the source file; 0 if it is not known
};

#endif
