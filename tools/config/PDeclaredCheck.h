// SPDX-License-Identifier: MIT
// PDeclaredCheck: compares configuration files with the keys that plugins declare.
#ifndef IXLAL_TOOLS_PDECLAREDCHECK_H
#define IXLAL_TOOLS_PDECLAREDCHECK_H

#include "config/PConfigCheck.h"
#include "shared/PConfigFile.h"
#include "shared/PDeclarations.h"

#include <set>
#include <string>
#include <vector>

/// Finds unknown keys, and values that their declarations refuse. All findings are warnings,
/// because the core accepts the lines. IDs without declarations are not judged.
class PDeclaredCheck
{
public:
    PDeclaredCheck(const PDeclarations& iDeclarations, PConfigCheck& ioCheck);

    /// Checks a file that is listed for these IDs.
    void checkFile(const PConfigFile& iFile, const std::vector<std::string>& iIDs);

    /// Checks a store, whose keys are ID|key.
    void checkStore(const PConfigFile& iFile);

    /// Reports each ID of a manager's file without declarations that is similar to one with
    /// declarations, which is not listed.
    void checkIDs(const PConfigFile& iFile);

private:
    void checkEntry(const ConfigLine& iLine, const std::string& iKey,
                    const std::vector<std::string>& iIDs);
    bool checkValue(const ConfigLine& iLine, const std::string& iKey, const std::string& iID);
    void reportUnknown(const ConfigLine& iLine, const std::string& iKey,
                       const std::vector<std::string>& iIDs);

    const PDeclarations& fDeclarations;
    PConfigCheck& fCheck;
    std::set<std::string> fReported; ///< unknown keys
};

#endif
