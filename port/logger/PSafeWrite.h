// SPDX-License-Identifier: MIT
// PSafeWrite: writes whose failure does not end the process.
#ifndef IXLAL_PSAFEWRITE_H
#define IXLAL_PSAFEWRITE_H

#include <cstddef>

#include <sys/types.h>

/// A write to a pipe without a reader, or beyond the file size limit of the process, raises a
/// signal that ends the process by default. [any thread]
class PSafeWrite
{
public:
    /// Writes as write(2) does, repeats interrupted calls and suppresses the signal. Returns the
    /// number of bytes written, which may be less than iSize, or a negated errno.
    static ssize_t write(int iHandle, const char* iBytes, std::size_t iSize) noexcept;

    /// As write, to a regular file, but faster: does not suppress the signal. For a process without
    /// a file size limit, which is the only cause of a signal then. If the process sets a limit
    /// below the end of the file meanwhile, the signal ends it as in any program.
    static ssize_t writeUnguarded(int iHandle, const char* iBytes, std::size_t iSize) noexcept;
};

#endif
