// SPDX-License-Identifier: MIT
// PSession: validates what the command line names, and reports it.
#ifndef IXLAL_TOOLS_PSESSION_H
#define IXLAL_TOOLS_PSESSION_H

#include "validate/PBaseline.h"
#include "validate/PLibraryResult.h"
#include "validate/PReportFile.h"
#include "validate/PSubjectSearch.h"
#include "validate/PValidateOptions.h"

#include <vector>

class PSession
{
public:
    explicit PSession(const PValidateOptions& iOptions);

    /// Returns the exit code. Throws PValidateError, and others if there is no memory, process or
    /// temporary directory.
    int run();

private:
    /// A single library: each result is written as soon as it is there.
    void runOne(const PSubject& iSubject);
    void runAll();
    void add(const PLibraryResult& iResult);
    /// The result, with the baseline applied.
    PCheckResult judged(const std::string& iLibrary, const PCheckResult& iResult);
    void conclude() const;
    void writeFiles();
    bool passed() const;
    nlohmann::ordered_json toJson() const;

    const PValidateOptions& fOptions;
    const bool fIsSingle; ///< the command line names one library
    PBaseline fBaseline;
    PReportFile fJunit;
    PReportFile fSarif;
    PReportFile fNewBaseline;
    PSubjectSearch fSearch;
    std::vector<PLibraryResult> fResults;
};

#endif
