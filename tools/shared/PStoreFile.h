// SPDX-License-Identifier: MIT
// PStoreFile: the store, as a file that is replaced atomically.
#ifndef IXLAL_TOOLS_PSTOREFILE_H
#define IXLAL_TOOLS_PSTOREFILE_H

#include "shared/PLockedDirectory.h"

#include <optional>
#include <string>

/// Holds the lock of the store's directory. A core does not take it: it has no lock. Every
/// operation throws PFileError.
class PStoreFile
{
public:
    explicit PStoreFile(const std::string& iPath);

    const std::string& path() const;
    const std::string& name() const;
    PLockedDirectory& directory();
    const PLockedDirectory& directory() const;

    /// The content; empty for a store that does not exist.
    std::optional<std::string> read() const;

    /// Replaces the content; owner, group, mode and extended attributes stay.
    void write(const std::string& iBytes);

    /// The directory in a path of a file.
    static std::string directoryOf(const std::string& iPath);

private:
    const std::string fPath;
    const std::string fName;
    PLockedDirectory fDirectory;
};

#endif
