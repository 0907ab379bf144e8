// SPDX-License-Identifier: MIT
// PConfigView: what a core makes of a configuration directory.
#ifndef IXLAL_TOOLS_PCONFIGVIEW_H
#define IXLAL_TOOLS_PCONFIGVIEW_H

#include "config/PConfigPlaces.h"
#include "config/PCoreSession.h"
#include "config/PScratch.h"

#include <optional>
#include <string>
#include <vector>

/// The directory and the arguments that a core is started with.
struct ConfigOptions
{
    std::string dir;
    std::vector<std::string> core; ///< key=value each
};

/// A core that was started on the directory, and the places of the files that it reads.
///
/// A core creates a store file that is missing as soon as it looks for a stored value. A view for
/// reading has it do so elsewhere, so that looking at a directory never changes it.
class PConfigView
{
public:
    enum EPurpose
    {
        eRead,
        eWriteStore
    };

    /// Throws PToolError for a directory without a manager's file or a core that doesn't start.
    PConfigView(const ConfigOptions& iOptions, EPurpose iPurpose);

    IConfigManager& manager() const;
    const PConfigPlaces& places() const;

    /// Whether there is a store file.
    bool hasStore() const;

    /// The IDs that have files or stored values, in ascending order.
    std::vector<PString> ids() const;

    /// How many keys of an ID are stored.
    unsigned int storedKeys(const PLiteral& iID) const;

    /// The configuration of an ID. Throws PToolError for an ID that nobody listed or stored.
    PBaseptr<IConfig> load(const PLiteral& iID) const;

    /// The keys of an ID in its files and in the store, in ascending order.
    std::vector<PString> keys(const PLiteral& iID) const;

    /// The files that the core reads for an ID, in its order, as its log tells.
    std::vector<PString> filesRead(const PLiteral& iID) const;

    /// A configuration without keys and without an ID.
    PBaseptr<IConfig> makeEmpty() const;

    /// Throws PToolError when a result isn't 0.
    static void require(int iResult, const std::string& iWhat);

private:
    std::vector<PString> storeKeys() const;

    const std::string fDir;
    PScratch fScratch;
    std::optional<PConfigPlaces> fPlaces;
    std::optional<PCoreSession> fSession; ///< goes before the directories that it uses
};

#endif
