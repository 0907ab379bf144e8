// SPDX-License-Identifier: MIT
// PReadyFile: a file that is there while everything is ready, and holds the process number.
#ifndef IXLAL_TOOLS_PREADYFILE_H
#define IXLAL_TOOLS_PREADYFILE_H

#include <string>

/// Members return 0 or the errno of what failed. With an empty path all of them do nothing.
class PReadyFile
{
public:
    explicit PReadyFile(std::string iPath);

    /// Takes the file down if it is still there.
    ~PReadyFile();

    PReadyFile(const PReadyFile&) = delete;
    PReadyFile& operator=(const PReadyFile&) = delete;

    /// Removes what an earlier process left, and looks whether the file can be made. Anything but
    /// a regular file stays and fails with EEXIST.
    int prepare();

    /// Makes the file, complete from its first moment.
    int publish();

    /// Removes the file if this object has made it.
    int withdraw();

private:
    const std::string fPath;
    bool fPublished = false;
};

#endif
