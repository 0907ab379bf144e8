// SPDX-License-Identifier: MIT
// PConfigPlaces: finds the files of a configuration directory.
#ifndef IXLAL_TOOLS_PCONFIGPLACES_H
#define IXLAL_TOOLS_PCONFIGPLACES_H

#include "IConfigManager.h"
#include "PBaseptr.h"

#include <string>
#include <vector>

/// The key that names the store file; it is not the ID of a configuration.
inline constexpr wchar_t kStoreFileKey[] = L"ixlap.configmanager.store.file";

/// Finds the files that a core would read, because the interface has values only.
/// "custom.config.NAME" of the arguments or the property file takes precedence, a name with a "/"
/// is a path, any other name is in the directory. The content of the files is read by the core.
class PConfigPlaces
{
public:
    /// iArguments are those of the core. Throws PToolError for a directory or a property file that
    /// cannot be read.
    PConfigPlaces(IConfigManager& ioManager, const std::string& iDir,
                  const std::vector<std::string>& iArguments);

    /// The path of the file iName.
    PString pathOf(const PLiteral& iName) const;

    /// The path of the manager's file.
    PString managerPath() const;

    /// Reads the manager's file. Throws PToolError when the core cannot.
    void readManagerFile(IConfigManager& ioManager);

    /// The IDs that the manager's file lists, in ascending order.
    std::vector<PString> listedIDs() const;

    /// The names of the files of an ID; empty for an ID that is not listed.
    std::vector<PString> filesOf(const PLiteral& iID) const;

    /// The store's name and path; empty without a store.
    PString storeName() const;
    PString storePath() const;

    /// The name of the manager's file.
    static const wchar_t* managerFile();

private:
    PBaseptr<IConfig> fCore;    ///< the property file and the arguments
    PBaseptr<IConfig> fManager; ///< empty until read
};

#endif
