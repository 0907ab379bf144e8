// SPDX-License-Identifier: MIT
// PConfigView: a configuration directory as a core reads it.
#ifndef IXLAL_TOOLS_PCONFIGVIEW_H
#define IXLAL_TOOLS_PCONFIGVIEW_H

#include "config/PCoreSession.h"
#include "config/PScratch.h"
#include "shared/PConfigPlaces.h"

#include <optional>
#include <string>
#include <vector>

/// The directory and the arguments of a core.
struct ConfigOptions
{
    std::string dir;
    std::vector<std::string> core;    ///< key=value each
    std::vector<std::string> plugins; ///< directories and libraries
};

/// A core that was started on the directory, and the paths of the files that it reads.
///
/// A core creates a missing store file when it looks up a stored value, and rewrites the store in
/// place. A view for reading redirects a missing file. The core of a view for writing has a copy of
/// the store, so that the directory never changes before PStoreFile replaces the store.
class PConfigView
{
public:
    enum EPurpose
    {
        eRead,
        eWriteStore
    };

    /// Throws PToolError for a directory without a manager's file or a core that does not start.
    PConfigView(const ConfigOptions& iOptions, EPurpose iPurpose);

    IConfigManager& manager() const;
    const PConfigPlaces& places() const;

    /// Whether the store file exists.
    bool hasStore() const;

    /// The path of the copy that the core of a view for writing changes.
    std::string copyOfStore() const;

    /// The IDs that have files or stored values, in ascending order.
    std::vector<PString> ids() const;

    /// The number of stored keys of an ID.
    unsigned int storedKeys(const PLiteral& iID) const;

    /// The configuration of an ID. Throws PToolError for an ID that is neither listed nor stored.
    PBaseptr<IConfig> load(const PLiteral& iID) const;

    /// The keys of an ID in its files and in the store, in ascending order.
    std::vector<PString> keys(const PLiteral& iID) const;

    /// The files that the core reads for an ID, in order, according to its log.
    std::vector<PString> filesRead(const PLiteral& iID) const;

    /// A configuration without keys and without an ID.
    PBaseptr<IConfig> makeEmpty() const;

    /// The places of a core with iArguments. Throws PToolError for a directory or a property file
    /// that cannot be read.
    static PConfigPlaces placesOf(IConfigManager& ioManager, const std::string& iDir,
                                  const std::vector<std::string>& iArguments);

    /// Throws PToolError when a result is not 0.
    static void require(int iResult, const std::string& iWhat);

private:
    std::vector<PString> storeKeys() const;

    const std::string fDir;
    PScratch fScratch;
    std::optional<PConfigPlaces> fPlaces;
    std::optional<PCoreSession> fSession; ///< last: destroyed before the directories that it uses
};

#endif
