// SPDX-License-Identifier: MIT
// PFileWatch: notices changes of files by inotify.
#ifndef IXLAL_TOOLS_PFILEWATCH_H
#define IXLAL_TOOLS_PFILEWATCH_H

#include "shared/PFileDescriptor.h"

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>

/// Watches the directories of files, so that files which are replaced, created and removed are
/// noticed. For a file in a directory that does not exist, the nearest existing directory above it
/// is watched, and for a symbolic link also the directory of its target.
class PFileWatch
{
public:
    /// Throws std::system_error.
    PFileWatch();

    /// Replaces the watched paths. Call it again after each change, because the change may have
    /// created or removed directories. Returns the directories that cannot be watched, with the
    /// reason.
    std::map<std::string, std::string> setPaths(const std::set<std::string>& iPaths);

    /// Readable when something has happened.
    int descriptor() const;

    /// Removes what has happened. Returns whether a watched path, or any library, may be changed.
    bool takeEvents();

private:
    void addPath(const std::filesystem::path& iPath);
    void addDirectory(const std::filesystem::path& iDirectory);
    bool isRelevant(unsigned int iMask, std::string_view iName) const;

    const PFileDescriptor fNotifier;
    std::set<int> fWatches;
    std::set<std::string, std::less<>>
        fNames; ///< of files and directories, without their directory
    std::map<std::string, std::string> fFailures;
};

#endif
