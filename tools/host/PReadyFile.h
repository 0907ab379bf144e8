// SPDX-License-Identifier: MIT
// PReadyFile: a file that exists while everything is ready, and contains the process number.
#ifndef IXLAL_TOOLS_PREADYFILE_H
#define IXLAL_TOOLS_PREADYFILE_H

#include <atomic>
#include <string>

/// Members return 0 or the errno of the failed call. With an empty path all of them do nothing.
class PReadyFile
{
public:
    explicit PReadyFile(std::string iPath);

    /// Removes the file if it still exists.
    ~PReadyFile();

    PReadyFile(const PReadyFile&) = delete;
    PReadyFile& operator=(const PReadyFile&) = delete;

    /// Removes the file of an earlier process, and checks whether the file can be created. Anything
    /// but a regular file is kept, and the result is EEXIST.
    int prepare();

    /// Creates the file atomically.
    int publish();

    /// Removes the file if this object created it. [any thread]
    int withdraw();

private:
    const std::string fPath;
    std::atomic<bool> fPublished{false};
};

#endif
