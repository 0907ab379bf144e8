// SPDX-License-Identifier: MIT
// PSafeWrite: writes whose failure does not end the process.
#ifndef IXLAL_PSAFEWRITE_H
#define IXLAL_PSAFEWRITE_H

#include <cstddef>

#include <sys/types.h>

/// A write to a pipe without a reader, or beyond the file size limit of the process, raises a
/// signal that ends the process by default. These functions suppress the signal and return the
/// error only. [any thread]
class PSafeWrite
{
public:
    /// Writes as write(2) does and repeats interrupted calls. Returns the number of bytes written,
    /// which may be less than iSize, or a negated errno.
    static ssize_t write(int iHandle, const char* iBytes, std::size_t iSize) noexcept;

    /// The same to the end of a regular file of iFileSize bytes. Only the file size limit can raise
    /// a signal there, and asking for the limit is faster than blocking signals; so signals are
    /// blocked only when the process has a limit. A limit that another thread sets during the call
    /// applies from the next write on.
    static ssize_t writeFile(int iHandle, const char* iBytes, std::size_t iSize,
                             unsigned long long iFileSize) noexcept;
};

#endif
