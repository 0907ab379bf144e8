// SPDX-License-Identifier: MIT
// PHostLogs: the log files of this process.
#ifndef IXLAL_TOOLS_PHOSTLOGS_H
#define IXLAL_TOOLS_PHOSTLOGS_H

#include <optional>
#include <string>
#include <vector>

/// A log file that this process has open.
struct HostLog
{
    std::string name; ///< without the directory
    std::string path;
    std::string content; ///< the path to read; another one when the file was deleted
    bool isCore = false; ///< the core log
};

/// What a log file contains.
struct LogContent
{
    long long size = 0;
    long long lines = 0;
    long long lost = 0;      ///< as far as its lines report them
    bool isComplete = false; ///< false for a file that is too large to be read
};

/// Finds the logs among the open files: regular files, opened for appending, whose first line is
/// that of a log.
class PHostLogs
{
public:
    /// Files that are larger are not read.
    static constexpr long long kLargest = 64LL * 1024 * 1024;

    PHostLogs();

    const std::vector<HostLog>& all() const noexcept;

    /// The core log, if it is written to a file.
    std::optional<HostLog> core() const;

    /// The path of the log iName: "core", the name of an open log, or a file in iDirectory. Throws
    /// PRequestError for a name with a directory and for an unknown name.
    std::string pathOf(const std::string& iName, const std::string& iDirectory) const;

    static LogContent content(const std::string& iPath);

private:
    std::vector<HostLog> fLogs;
};

#endif
