// SPDX-License-Identifier: MIT
// PCoreSettings: what the arguments and the property file of a core say, without a core.
#ifndef IXLAL_TOOLS_PCORESETTINGS_H
#define IXLAL_TOOLS_PCORESETTINGS_H

#include "portinglayer/PString.h"
#include "portinglayer/PUtils.h"
#include "shared/PConfigFile.h"

#include <string>
#include <vector>

/// The name of the file that lists the IDs, and its key for the store file, which is no ID.
inline constexpr wchar_t kManagerFile[] = L"ixlap.configmanager.prs";
inline constexpr wchar_t kStoreFileKey[] = L"ixlap.configmanager.store.file";

/// Follows the rules of the core: arguments take precedence over the property file, later ones over
/// earlier ones.
class PCoreSettings
{
public:
    /// iArguments are of the form key=value. A property file that cannot be read counts as empty.
    explicit PCoreSettings(const std::vector<PString>& iArguments);

    /// Sets oValue if the key has a value.
    bool find(const PLiteral& iKey, PString& oValue) const;

    /// The path of the file iName.
    PString pathOf(const PLiteral& iName) const;

    /// The path of the store; empty without a store, or when the manager's file cannot be read.
    std::string storePath() const;

    /// The path of a configuration file. "custom.config.NAME" replaces the name, a name with a "/"
    /// is a path, any other name is in core.plugins.config.dir. iFind(key, value) looks up a value.
    template <class TFind>
    static PString pathOf(const PLiteral& iName, const TFind& iFind)
    {
        PString custom(L"custom.config.");
        custom += iName;
        PString name;
        if (!iFind(custom, name))
        {
            name = iName;
        }
        PUtils::fixFileSeparator(name);
        unsigned int slash = 0;
        PString path;
        if (!name.chr(L'/', slash) && iFind(L"core.plugins.config.dir", path))
        {
            PUtils::fixFileSeparator(path);
            path += path.endsWith(L"/") ? L"" : L"/";
        }
        path += name;
        return path;
    }

private:
    static bool findLast(const std::vector<ConfigLine>& iLines, const PLiteral& iKey,
                         PString& oValue);

    std::vector<ConfigLine> fLines; ///< those of the property file, then the arguments
};

#endif
