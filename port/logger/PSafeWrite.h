// SPDX-License-Identifier: MIT
// PSafeWrite: writes that may fail but never end the process.
#ifndef IXLAL_PSAFEWRITE_H
#define IXLAL_PSAFEWRITE_H

#include <cstddef>

#include <sys/types.h>

/// A write to a pipe without a reader, or beyond the size that the process may give to files,
/// raises a signal that ends the process by default. Here only the result tells. [any thread]
class PSafeWrite
{
public:
    /// Writes as write(2) does, waiting out interrupted calls. Returns the number of bytes
    /// written, which may be fewer than asked for, or a negated errno.
    static ssize_t write(int iHandle, const char* iBytes, std::size_t iSize) noexcept;

    /// The same to the end of a regular file of iFileSize bytes, where only the size can raise a
    /// signal: signals are held back unless the process may give files any size, which takes less
    /// time to ask. A limit that another thread sets meanwhile counts from the next write on.
    static ssize_t writeFile(int iHandle, const char* iBytes, std::size_t iSize,
                             unsigned long long iFileSize) noexcept;
};

#endif
