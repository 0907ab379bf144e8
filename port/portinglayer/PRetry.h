// SPDX-License-Identifier: MIT
// PRetry: repeats system calls that a signal interrupts.
#ifndef IXLAL_PRETRY_H
#define IXLAL_PRETRY_H

#include <cerrno>

/// On network and user-space file systems a signal can interrupt every call on a path or a file,
/// not only reads and writes. Most of these calls are also cancellation points: callers have a
/// PCancelGuard around them.
struct PRetry
{
    /// The result of iCall, which returns a negative number and sets errno on failure.
    template <class TCall>
    static auto call(const TCall& iCall) noexcept -> decltype(iCall())
    {
        auto result = iCall();
        while (result < 0 && errno == EINTR)
        {
            result = iCall();
        }
        return result;
    }
};

#endif
