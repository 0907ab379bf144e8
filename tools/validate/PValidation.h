// SPDX-License-Identifier: MIT
// PValidation: runs the checks of one library.
#ifndef IXLAL_TOOLS_PVALIDATION_H
#define IXLAL_TOOLS_PVALIDATION_H

#include "testkit/PTestDirectory.h"
#include "validate/PCheck.h"
#include "validate/PLibraryResult.h"
#include "validate/PMemoryWatch.h"
#include "validate/PValidateOptions.h"

#include <functional>
#include <set>
#include <string>

class PValidation
{
public:
    /// Called with each result, as soon as it is there.
    typedef std::function<void(const PCheckResult& iResult)> Listener;

    PValidation(const PValidateOptions& iOptions, const Listener& iListener);

    /// Runs the selected checks.
    PLibraryResult run();

private:
    bool isWanted(const PCheck& iCheck) const;
    PCheckResult runCheck(const PCheck& iCheck);

    const PValidateOptions& fOptions;
    const Listener fListener;
    const PTestDirectory fScratch;
    PMemoryWatch fMemory;
    std::set<std::string> fMissing; ///< checks that failed or were skipped
};

#endif
