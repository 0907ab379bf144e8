// SPDX-License-Identifier: MIT
// PLogReader: reads a log file that is open for writing.
#ifndef IXLAL_PLOGREADER_H
#define IXLAL_PLOGREADER_H

#include "PLogIdentity.h"
#include "portinglayer/PDescriptor.h"

/// Has its own descriptor, because the descriptor of the writer is write-only. Belongs to one
/// thread at a time.
class PLogReader
{
public:
    /// Opens the file at iPath. Another file, even a pipe, may have replaced the log there; opening
    /// it does not block the process.
    PLogReader(const char* iPath, const PLogIdentity& iLog) noexcept;

    /// Whether the file is open and is the log. If not, nothing else may be called.
    bool isLog() const noexcept
    {
        return fIsLog;
    }

    /// Whether the last of iSize bytes, at least 1, can be read and is no line end.
    bool isTorn(unsigned long long iSize) const noexcept;

    /// Counts the line ends from offset iFrom up to iSize, and stops early when iEnough are found
    /// or a read fails.
    unsigned long long countLines(unsigned long long iFrom, unsigned long long iSize,
                                  unsigned long long iEnough) const noexcept;

private:
    const PDescriptor fHandle;
    bool fIsLog;
};

#endif
