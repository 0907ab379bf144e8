// PSafeWrite: writes that may fail but never end the process.
#ifndef IXLAL_PSAFEWRITE_H
#define IXLAL_PSAFEWRITE_H

#include <cstddef>
#include <string_view>

#include <sys/types.h>

/// A write to a pipe without a reader, or beyond the size that the process may give to files,
/// raises a signal that ends the process by default. Here only the result tells. [any thread]
class PSafeWrite
{
public:
    /// Writes as write(2) does, waiting out interrupted calls. Returns the number of bytes
    /// written, which may be fewer than asked for, or a negated errno.
    static ssize_t write(int iHandle, const char* iBytes, std::size_t iSize) noexcept;

    /// Writes to the standard error stream; what cannot be written is dropped.
    static void print(std::string_view iBytes) noexcept;
};

#endif
