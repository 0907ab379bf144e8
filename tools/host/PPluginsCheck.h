// SPDX-License-Identifier: MIT
// PPluginsCheck: whether the core has loaded and initialised the plugins that it is configured for.
#ifndef IXLAL_TOOLS_PPLUGINSCHECK_H
#define IXLAL_TOOLS_PPLUGINSCHECK_H

#include "host/PCoreConfig.h"
#include "host/PDegradation.h"
#include "host/PLogFollower.h"

#include <vector>

class PPluginsCheck
{
public:
    /// The arguments are borrowed and must outlive the object. iLogFile is the value of
    /// core.log.file. iLoadedDir is the directory from which the core has loaded its plugins; empty
    /// for the configured one.
    PPluginsCheck(const PCoreConfig& iConfig, const PLogFollower& iLog, const std::string& iLogFile,
                  const std::string& iLoadedDir);

    /// Returns everything that is missing, in the order of the exit codes.
    std::vector<PDegradation> run();

private:
    bool checkDirectory();
    void checkLoadList();
    void checkAutostartList();
    void checkAutostartResults();
    std::string reasonOfAbsence(const PString& iFile) const;
    bool isListedForLoading(const PString& iFile) const;
    bool isLoaded(const PString& iFile) const;
    std::string pathOf(const PString& iFile) const;
    void add(EHostExit iCode, const std::string& iText);

    const PCoreConfig& fConfig;
    const PLogFollower& fLog;
    const std::string& fLogFile;
    const std::string& fLoadedDir;
    PString fDirectory;
    std::vector<PDegradation> fFound;
};

#endif
