// SPDX-License-Identifier: MIT
// PBaseline: known findings, which do not fail.
#ifndef IXLAL_TOOLS_PBASELINE_H
#define IXLAL_TOOLS_PBASELINE_H

#include "validate/PLibraryResult.h"

#include <string>
#include <vector>

/// The file has a line for each finding: the file name of the library, the check, and the first
/// line of the finding, with a tab between them. In the finding, "*" stands for any text.
class PBaseline
{
public:
    /// Reads a file; an empty path means no findings. Throws PValidateError.
    explicit PBaseline(const std::string& iPath);

    /// Marks a finding as known if it is in the baseline.
    void apply(const std::string& iLibrary, PCheckResult& ioResult);

    /// A line for each finding that a library no longer has, of the checks that ran.
    std::vector<std::string> gone(const std::vector<PLibraryResult>& iResults) const;

    /// The content of a file with the findings of these libraries.
    static std::string textOf(const std::vector<PLibraryResult>& iResults);

    /// A finding without numbers and paths that differ from run to run; "*" stands for these.
    static std::string stableText(const PCheckResult& iResult);

private:
    struct PEntry
    {
        std::string library;
        std::string check;
        std::string text;
        bool found = false;
    };

    void readLine(const std::string& iPath, std::size_t iNumber, const std::string& iLine);

    std::vector<PEntry> fEntries;
};

#endif
