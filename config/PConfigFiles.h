// SPDX-License-Identifier: MIT
// PConfigFiles: the files of each configuration ID.
#ifndef IXLAL_PCONFIGFILES_H
#define IXLAL_PCONFIGFILES_H

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "portinglayer/PString.h"

#include <vector>

class PConfigLog;
class PRunTimeValues;

/// Gets the list of files from the manager's configuration, and redirections from the run-time
/// values of the global ID. Not synchronised: the manager guards it with its lock.
///
/// The manager's configuration holds the manager; nl_takeManagerConfig() breaks that cycle.
class PConfigFiles
{
public:
    /// Files are read by operations of ioManager, which owns all three.
    PConfigFiles(IConfigManager& ioManager, PRunTimeValues& ioValues, PConfigLog& ioLog) noexcept;

    PConfigFiles(const PConfigFiles&) = delete;
    PConfigFiles& operator=(const PConfigFiles&) = delete;

    /// Reads the manager's configuration unless it is loaded. Returns 0 or the code of reading.
    /// Throws std::bad_alloc, as all of the following do.
    int nl_loadManagerConfig();

    /// Reads the list of files of an ID from the manager's configuration, which must be loaded.
    /// Returns 0, -504 for an ID that is not listed, or another code of reading.
    int nl_readFileList(const PLiteral& iID, PString& oFiles);

    /// Appends the files of a list; a file that cannot be appended is logged and skipped. ioFiles
    /// is consumed. Returns 0 or -501.
    int nl_appendFiles(PString& ioFiles, const PBaseptr<IConfig>& ioConfig);

    /// Reads the name of the store file. Returns 0, -2002 while the manager's configuration is not
    /// loaded, -3003 without a name, or -501.
    int nl_readStoreName(PString& oName);

    /// Appends the listed IDs. The manager's configuration must be loaded.
    void nl_appendIDs(std::vector<PString>& ioIDs) const;

    /// The path of a file: redirected if there is a redirection, and in the directory of
    /// configurations unless the name has a directory.
    void nl_createFilePath(const PLiteral& iName, PString& oPath);

    /// Empties the manager's configuration and returns it, to be released without the lock.
    PBaseptr<IConfig> nl_takeManagerConfig();

private:
    int nl_appendFile(const PLiteral& iName, const PBaseptr<IConfig>& ioConfig);

    IConfigManager& fManager;
    PRunTimeValues& fValues;
    PConfigLog& fLog;
    PBaseptr<IConfig> fManagerConfig; ///< the list of files by ID; empty until it is needed
};

#endif
