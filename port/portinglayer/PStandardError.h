// SPDX-License-Identifier: MIT
// PStandardError: writes to the standard error stream that neither wait nor end the process.
#ifndef IXLAL_PSTANDARDERROR_H
#define IXLAL_PSTANDARDERROR_H

#include <cstddef>

/// The stream belongs to the host and may be anything: a file, a terminal that is stopped, a pipe
/// or a socket that nobody reads. Its mode is left alone, for other processes share it.
class PStandardError
{
public:
    /// Writes iSize bytes. Returns 0, or a negated errno when the stream did not take all of it at
    /// once: -9 when it may not be written, -11 when it would have to wait, -32 when nobody reads
    /// any more. A line that was cut off so is ended before the next text. [any thread]
    static int write(const char* iBytes, std::size_t iSize) noexcept;
};

#endif
