// SPDX-License-Identifier: MIT
// PWatchedFiles: the states of the files that a core reads at its start.
#ifndef IXLAL_TOOLS_PWATCHEDFILES_H
#define IXLAL_TOOLS_PWATCHEDFILES_H

#include "portinglayer/PString.h"

#include <map>
#include <set>
#include <string>
#include <sys/types.h>
#include <vector>

class PCoreSettings;

/// The libraries of the plugins directory, the property file, the file of the configuration manager
/// and the files that it lists. The store is not among them, because the core writes it.
class PWatchedFiles
{
public:
    PWatchedFiles() = default;

    /// Reads the states now. iArguments are those of the core.
    explicit PWatchedFiles(const std::vector<PString>& iArguments);

    bool operator==(const PWatchedFiles&) const = default;

    /// The plugins directory; empty if no key names it.
    const std::string& pluginsDir() const;

    /// The libraries that the core loads, without their directory, in its order.
    std::vector<std::string> plugins() const;

    /// The configuration files; the first is the property file, if there is one.
    const std::vector<std::string>& configFiles() const;

    /// The paths to watch: those of the files and of their directories.
    std::set<std::string> paths() const;

    /// The files that differ from those of an earlier state, in one line.
    std::string differencesTo(const PWatchedFiles& iEarlier) const;

private:
    /// What every change of a file changes.
    struct State
    {
        dev_t device = 0;
        ino_t file = 0;
        off_t size = 0;
        long long seconds = 0; ///< of the last change, also of the owner or the mode
        long nanoseconds = 0;

        bool operator==(const State&) const = default;
    };

    void addLibraries();
    void addConfigFiles(const PCoreSettings& iSettings);
    void addConfigFile(const std::string& iPath);
    void addState(const std::string& iPath);

    std::string fPluginsDir;
    std::set<std::string> fLoadList; ///< file names; empty for all libraries
    std::vector<std::string> fConfigFiles;
    std::map<std::string, State> fStates; ///< of the files that exist
};

#endif
