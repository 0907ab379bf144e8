// SPDX-License-Identifier: MIT
// PDescriptor: file descriptors that are safe against signals and closed standard streams.
#ifndef IXLAL_PDESCRIPTOR_H
#define IXLAL_PDESCRIPTOR_H

#include <cstddef>
#include <sys/types.h>

/// Owns a file descriptor. Repeats calls that a signal interrupts.
class PDescriptor
{
public:
    /// Opens iPath with close-on-exec. Never uses the numbers of the standard streams, even when
    /// the host has closed those. On failure result() has the error.
    PDescriptor(const char* iPath, int iFlags, mode_t iAccess = 0) noexcept;

    /// Closes the descriptor unless it was released.
    ~PDescriptor();

    PDescriptor(const PDescriptor&) = delete;
    PDescriptor& operator=(const PDescriptor&) = delete;

    /// 0 or the negated errno of opening.
    int result() const noexcept
    {
        return fResult;
    }

    int get() const noexcept
    {
        return fHandle;
    }

    /// Transfers ownership of the descriptor to the caller.
    int release() noexcept;

    /// Reads once, up to iSize bytes. Returns the number of bytes or a negated errno.
    static ssize_t readSome(int iHandle, char* oBytes, std::size_t iSize) noexcept;

    /// Writes all bytes. A failing write raises no signal. Returns 0 or a negated errno.
    static int writeAll(int iHandle, const char* iBytes, std::size_t iSize) noexcept;

    /// Closes a descriptor, also when it fails. Returns 0 or a negated errno.
    static int close(int iHandle) noexcept;

private:
    int fHandle;
    int fResult;
};

#endif
