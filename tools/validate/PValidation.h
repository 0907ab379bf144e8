// SPDX-License-Identifier: MIT
// PValidation: runs the checks and reports their results.
#ifndef IXLAL_TOOLS_PVALIDATION_H
#define IXLAL_TOOLS_PVALIDATION_H

#include "testkit/PTestDirectory.h"
#include "validate/PCheck.h"
#include "validate/PValidateOptions.h"

#include <nlohmann/json.hpp>

#include <set>
#include <string>

class PValidation
{
public:
    explicit PValidation(const PValidateOptions& iOptions);

    /// Runs the selected checks. Returns whether all of them passed.
    bool run();

private:
    bool isWanted(const PCheck& iCheck) const;
    void runCheck(const PCheck& iCheck);
    void report(const PCheck& iCheck, const std::string& iResult, const PVerdict& iVerdict,
                double iSeconds);
    void conclude() const;

    const PValidateOptions& fOptions;
    const PTestDirectory fScratch;
    std::set<std::string> fMissing; ///< checks that failed or were skipped
    int fRun = 0;
    int fFailed = 0;
    nlohmann::ordered_json fReport;
};

#endif
