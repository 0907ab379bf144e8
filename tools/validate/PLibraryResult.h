// SPDX-License-Identifier: MIT
// PLibraryResult: what the checks of one library found.
#ifndef IXLAL_TOOLS_PLIBRARYRESULT_H
#define IXLAL_TOOLS_PLIBRARYRESULT_H

#include "validate/PCheckResult.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

struct PLibraryResult
{
    std::string given; ///< the library, as reports name it
    std::vector<PCheckResult> checks;

    /// Whether no check failed.
    bool passed() const;

    /// The number of checks. A check may have several findings.
    std::size_t count() const;

    /// The number of checks with this outcome.
    std::size_t count(PCheckResult::EOutcome iOutcome) const;

    /// A library that was not validated, for a reason that counts as a failure of the check "file".
    static PLibraryResult failed(const std::string& iGiven, const std::string& iReason,
                                 const std::string& iAdvice);

    /// The object that --json writes.
    nlohmann::ordered_json toJson() const;

    /// Reads the text of such an object. Throws nlohmann::json::exception.
    static PLibraryResult ofJson(const std::string& iText);
};

#endif
