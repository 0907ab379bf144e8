// SPDX-License-Identifier: MIT
// PConfigPlaces: where the files of a configuration directory are.
#ifndef IXLAL_TOOLS_PCONFIGPLACES_H
#define IXLAL_TOOLS_PCONFIGPLACES_H

#include "IConfigManager.h"
#include "PBaseptr.h"

#include <string>
#include <vector>

/// The key that names the store file, which is no configuration.
inline constexpr wchar_t kStoreFileKey[] = L"ixlap.configmanager.store.file";

/// The interface hands out values, not places, so this finds the files that a core would read:
/// "custom.config.NAME" of its arguments or its property file comes first, a name with a "/" stands
/// as it is, any other is in the directory. What is in the files is read by the core.
class PConfigPlaces
{
public:
    /// iArguments are those of the core. Throws PToolError for a directory or a property file that
    /// cannot be read.
    PConfigPlaces(IConfigManager& ioManager, const std::string& iDir,
                  const std::vector<std::string>& iArguments);

    /// The file that iName stands for.
    PString pathOf(const PLiteral& iName) const;

    /// The manager's own file.
    PString managerPath() const;

    /// Reads the manager's own file. Throws PToolError when the core cannot.
    void readManagerFile(IConfigManager& ioManager);

    /// The IDs that the manager's own file lists, in ascending order.
    std::vector<PString> listedIDs() const;

    /// The names of the files of an ID; empty for one that isn't listed.
    std::vector<PString> filesOf(const PLiteral& iID) const;

    /// The store's name and place; empty without one.
    PString storeName() const;
    PString storePath() const;

    /// The name of the manager's own file.
    static const wchar_t* managerFile();

private:
    PBaseptr<IConfig> fCore;    ///< the arguments over the property file
    PBaseptr<IConfig> fManager; ///< empty until read
};

#endif
