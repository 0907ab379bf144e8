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

    /// Whether the process has no file size limit. Only this limit can raise a signal when a
    /// regular file is written, and asking for it is faster than blocking signals.
    static bool isSizeUnlimited() noexcept;

    /// As write, to the end of a regular file of iFileSize bytes. Blocks signals only if
    /// iIsUnlimited, the last result of isSizeUnlimited, is false, or if the file is larger than
    /// that function can judge. A limit that another thread sets after isSizeUnlimited was called
    /// applies from its next call on.
    static ssize_t writeFile(int iHandle, const char* iBytes, std::size_t iSize,
                             unsigned long long iFileSize, bool iIsUnlimited) noexcept;
};

#endif
