// SPDX-License-Identifier: MIT
// PDescriptor: calls on file descriptors, made so that signals and low numbers do no harm.
#ifndef IXLAL_PDESCRIPTOR_H
#define IXLAL_PDESCRIPTOR_H

#include <cstddef>
#include <sys/types.h>

/// Owns a file descriptor. Calls that a signal interrupts are made again.
class PDescriptor
{
public:
    /// Opens iPath with close-on-exec. Never uses the numbers of the standard streams, even when
    /// the host closed those. On failure result() tells why.
    PDescriptor(const char* iPath, int iFlags, mode_t iAccess = 0) noexcept;

    /// Closes what is still owned.
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

    /// Hands the descriptor over to the caller.
    int release() noexcept;

    /// Reads once, up to iSize bytes. Returns the number of bytes or a negated errno.
    static ssize_t readSome(int iHandle, char* oBytes, std::size_t iSize) noexcept;

    /// Writes all bytes; a write that fails raises no signal. Returns 0 or a negated errno.
    static int writeAll(int iHandle, const char* iBytes, std::size_t iSize) noexcept;

    /// Closes; returns 0 or a negated errno. The descriptor is gone either way.
    static int close(int iHandle) noexcept;

private:
    int fHandle;
    int fResult;
};

#endif
