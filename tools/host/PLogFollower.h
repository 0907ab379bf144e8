// SPDX-License-Identifier: MIT
// PLogFollower: reads what the core adds to its log.
#ifndef IXLAL_TOOLS_PLOGFOLLOWER_H
#define IXLAL_TOOLS_PLOGFOLLOWER_H

#include "host/PLogEntry.h"
#include "host/PPluginTable.h"
#include "shared/PFileDescriptor.h"

#include <string>
#include <sys/stat.h>
#include <vector>

/// Reads the lines of this process. Follows the log when it is rotated. One thread at a time may
/// use the object.
class PLogFollower
{
public:
    struct AutostartFailure
    {
        std::string library; ///< empty if the log does not name it
        int code;
    };

    /// Create the object before the log is opened. An empty path means no log. ioPlugins is
    /// borrowed and must outlive the object.
    PLogFollower(std::string iPath, PPluginTable& ioPlugins);

    PLogFollower(const PLogFollower&) = delete;
    PLogFollower& operator=(const PLogFollower&) = delete;

    /// The size of the log when the object was created.
    off_t begin() const;

    /// Reads all lines that were added since the last call.
    void poll();

    /// Whether any line was read.
    bool hasRead() const;

    /// Whether lines may be missing: there is no log, it is no regular file, the host may not read
    /// it, or it was emptied.
    bool isBlind() const;

    /// Removes and returns the error lines, with the names of libraries instead of addresses. At
    /// most eMaxErrors are kept.
    std::vector<std::string> takeErrors();

    const std::vector<AutostartFailure>& autostartFailures() const;

private:
    enum : std::size_t
    {
        eMaxErrors = 20
    };

    bool isCurrent() const;
    unsigned int unreadParts(bool iHadFile) const;
    void readPart(const std::string& iPath);
    void open(const std::string& iPath);
    void readOn();
    void takeLine(std::string_view iLine);
    void takeAutostart(const PLogEntry& iEntry);
    std::string named(std::string_view iText) const;

    const std::string fPath;
    PPluginTable& fPlugins;
    PFileDescriptor fFile;
    struct stat fIdentity = {};
    off_t fBegin = 0;
    off_t fOffset = 0;
    std::string fRest; ///< the beginning of a line
    std::string fAutostart;
    std::vector<std::string> fErrors;
    std::vector<AutostartFailure> fAutostartFailures;
    bool fHasRead = false;
    bool fHasDetails = false; ///< whether a line was no error
    bool fHasBegin = false;
    bool fHasGap = false;
};

#endif
