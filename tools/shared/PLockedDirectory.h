// SPDX-License-Identifier: MIT
// PLockedDirectory: replaces files of a directory atomically.
#ifndef IXLAL_TOOLS_PLOCKEDDIRECTORY_H
#define IXLAL_TOOLS_PLOCKEDDIRECTORY_H

#include "shared/PFileDescriptor.h"
#include "shared/PFileStatus.h"

#include <optional>
#include <stdexcept>
#include <string>

/// The text names the file and says what is wrong and what to do.
class PFileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A directory that no other object of this class, of any process, changes meanwhile. Names are
/// those of files in the directory. Every operation throws PFileError, and the files are unchanged
/// then. Symbolic links and other files that are not regular are refused.
class PLockedDirectory
{
public:
    /// Waits some seconds for the lock.
    explicit PLockedDirectory(const std::string& iPath);

    /// The path of a file, for messages.
    std::string pathOf(const std::string& iName) const;

    bool exists(const std::string& iName) const;

    /// The content of a file; empty for a file that does not exist.
    std::optional<std::string> read(const std::string& iName) const;

    /// The content of a file of any directory, which must exist.
    static std::string readPath(const std::string& iPath);

    /// The status of a file, or that of a new file.
    PFileStatus statusOf(const std::string& iName) const;

    /// Replaces or creates a file: writes NAME.new with the given status, synchronises it with the
    /// disk and renames it. A process that is killed meanwhile leaves the old file or the new one,
    /// and maybe NAME.new, which the next call overwrites.
    void write(const std::string& iName, const std::string& iBytes, const PFileStatus& iStatus);

    /// Replaces iTo.
    void rename(const std::string& iFrom, const std::string& iTo);

    /// Has no effect on a file that does not exist.
    void remove(const std::string& iName);

private:
    PFileDescriptor openFile(const std::string& iName) const;
    void fill(const std::string& iName, const std::string& iBytes, const PFileStatus& iStatus);
    void sync();
    static std::string readFile(int iFile, const std::string& iPath);
    [[noreturn]] void fail(const std::string& iName, int iError, const std::string& iWhat) const;

    const std::string fPath;
    PFileDescriptor fDirectory;
};

#endif
