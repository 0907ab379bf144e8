// SPDX-License-Identifier: MIT
// PKeyCheck: finds misspelt and misplaced keys of the core, and values of a wrong type.
#ifndef IXLAL_TOOLS_PKEYCHECK_H
#define IXLAL_TOOLS_PKEYCHECK_H

#include "shared/CoreKeys.h"
#include "shared/PConfigFile.h"

#include <string>
#include <vector>

/// Checks what a core would read. Keys that are neither those of the core nor similar to them are
/// not reported, because plugins and other programs choose their own names.
class PKeyCheck
{
public:
    /// A finding about one entry.
    struct Finding
    {
        bool isOfValue = false; ///< otherwise of the key
        std::string text;       ///< empty for an entry without a mistake
    };

    /// Checks an entry of a place. An entry with an attribute has no value to check.
    static Finding check(CoreKey::EPlace iPlace, const ConfigLine& iEntry);

    /// The findings in arguments of the core, of the form key=value; one line of text each, which
    /// names the argument.
    static std::vector<std::string> checkArguments(const std::vector<PString>& iArguments);

    /// The findings in the property file at iPath, each with "PATH:LINE: " in front. Empty for a
    /// file that cannot be read.
    static std::vector<std::string> checkPropertyFile(const PLiteral& iPath);

    /// Whether a file has a key that belongs into a property file of the core.
    static bool isPropertyFile(const PConfigFile& iFile);

private:
    static std::string checkKey(CoreKey::EPlace iPlace, const std::string& iKey);
    static std::string checkValue(const CoreKey& iKey, const PString& iValue);
};

#endif
