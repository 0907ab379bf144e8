// SPDX-License-Identifier: MIT
// PLogTail: follows a log file.
#ifndef IXLAL_TOOLS_PLOGTAIL_H
#define IXLAL_TOOLS_PLOGTAIL_H

#include "shared/PFileDescriptor.h"

#include <string>
#include <sys/types.h>
#include <vector>

/// Reads whole lines. Continues with the new file when the log was moved, and at the beginning when
/// it was truncated.
class PLogTail
{
public:
    /// iName is the log's name for clients. Throws PRequestError for a file that cannot be read.
    PLogTail(const std::string& iName, const std::string& iPath);

    const std::string& name() const noexcept;

    /// The last lines so far, at most iCount lines and iMostBytes bytes; the tail continues after
    /// them.
    std::vector<std::string> last(std::size_t iCount, std::size_t iMostBytes);

    /// The lines since the last call, but about iMostBytes bytes at most.
    std::vector<std::string> more(std::size_t iMostBytes);

private:
    bool reopen();
    bool fill();
    void splitInto(std::vector<std::string>& ioLines);

    std::string fName;
    std::string fPath;
    PFileDescriptor fFile;
    off64_t fPlace = 0;   ///< of the next byte to be read
    std::string fPartial; ///< a line that is not complete yet
};

#endif
