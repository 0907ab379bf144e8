// SPDX-License-Identifier: MIT
// PChangeCheck: finds out whether a core could start with changed files.
#ifndef IXLAL_TOOLS_PCHANGECHECK_H
#define IXLAL_TOOLS_PCHANGECHECK_H

#include "host/PHostOptions.h"
#include "host/PLibraryProbe.h"
#include "host/PWatchedFiles.h"

#include <map>
#include <string>
#include <vector>

/// Runs while the old core serves. No library is loaded into this process. What only a start can
/// show, such as a plugin that does not initialise, is not found.
class PChangeCheck
{
public:
    /// The arguments are borrowed and must outlive the object.
    PChangeCheck(const PHostOptions& iOptions, const PLibraryProbe& iProbe);

    /// Checks the copies of the libraries in iCopy and the configuration files. Returns a line for
    /// each reason to refuse them.
    std::vector<std::string> run(const PWatchedFiles& iFiles, const std::string& iCopy);

private:
    void checkLibrary(const std::string& iName, const std::string& iShown,
                      const std::string& iCopy);
    void checkInterfaces(const std::string& iShown, const PLibraryProbe::Outcome& iOutcome);
    void checkConfigFile(const std::string& iPath);
    void checkKeys();
    void checkInformation();

    const PHostOptions& fOptions;
    const PLibraryProbe& fProbe;
    std::map<std::string, std::string> fOwners; ///< of interface IDs
    std::vector<std::string> fFound;
};

#endif
