// SPDX-License-Identifier: MIT
// PLogPath: the path of a log file, its directories and its parts.
#ifndef IXLAL_PLOGPATH_H
#define IXLAL_PLOGPATH_H

#include "portinglayer/PLiteral.h"

#include <string>

/// Names the files of a log: the current file and its parts, which are full files that have been
/// renamed. Part 1 is the newest one. Allocates memory only when it is created. Belongs to one
/// thread at a time.
class PLogPath
{
public:
    /// Converts iFile to the bytes of an absolute path, so that a later change of the working
    /// directory does not move the log. Returns 0, or -22 for a text that is not a path. Throws
    /// std::bad_alloc.
    static int resolve(const PLiteral& iFile, std::string& oPath);

    /// Throws std::bad_alloc.
    explicit PLogPath(const std::string& iPath);

    PLogPath(const PLogPath&) = delete;
    PLogPath& operator=(const PLogPath&) = delete;

    /// The path of the current file.
    const char* current() const noexcept
    {
        return fCurrent.c_str();
    }

    /// Creates the missing directories of the path. Returns 0 or a negated errno.
    int makeDirectories() noexcept;

    /// Renames the current file to part 1 and renumbers the other parts, of which at most iParts,
    /// at least 1, are kept. Returns whether the current file was renamed.
    bool moveAside(unsigned int iParts) noexcept;

private:
    void partName(unsigned int iPart, std::string& oName) const noexcept;

    const std::string fCurrent;
    std::string fFrom; ///< room for the longest name of a part, as fTo
    std::string fTo;
};

#endif
