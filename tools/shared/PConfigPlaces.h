// SPDX-License-Identifier: MIT
// PConfigPlaces: finds the files of a configuration directory.
#ifndef IXLAL_TOOLS_PCONFIGPLACES_H
#define IXLAL_TOOLS_PCONFIGPLACES_H

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "shared/PCoreSettings.h"

#include <vector>

/// Finds the files that a core would read, because the interface has values only.
/// "custom.config.NAME" of the arguments or the property file takes precedence, a name with a "/"
/// is a path, any other name is in the directory. The content of the files is read by the core.
class PConfigPlaces
{
public:
    /// iCore has the arguments and the property file of a core, or is empty for a core without.
    explicit PConfigPlaces(const PBaseptr<IConfig>& iCore);

    /// The path of the file iName.
    PString pathOf(const PLiteral& iName) const;

    /// The path of the manager's file.
    PString managerPath() const;

    /// Reads the manager's file. Returns 0 or the core's code for a file that it cannot read; then
    /// there are no IDs and no store.
    int readManagerFile(IConfigManager& ioManager);

    /// The IDs that the manager's file lists, in ascending order.
    std::vector<PString> listedIDs() const;

    /// The names of the files of an ID, in the order of reading; empty for an ID that is not
    /// listed.
    std::vector<PString> filesOf(const PLiteral& iID) const;

    /// The store's name and path; empty without a store.
    PString storeName() const;
    PString storePath() const;

private:
    PBaseptr<IConfig> fCore;
    PBaseptr<IConfig> fManager; ///< empty until read
};

#endif
