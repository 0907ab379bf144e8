// SPDX-License-Identifier: MIT
// PStandardError: writes to the standard error stream without waiting or raising signals.
#ifndef IXLAL_PSTANDARDERROR_H
#define IXLAL_PSTANDARDERROR_H

#include <cstddef>

/// The stream belongs to the host and may be a file, a stopped terminal, or a pipe or socket
/// without a reader. Its mode is not changed, because other processes share it.
class PStandardError
{
public:
    /// Writes iSize bytes. Returns 0, or a negated errno when the stream did not accept all bytes
    /// at once: -9 when it is not open for writing, -11 when the write would block, -32 when there
    /// is no reader. A line that was written in part is ended before the next text. [any thread]
    static int write(const char* iBytes, std::size_t iSize) noexcept;
};

#endif
