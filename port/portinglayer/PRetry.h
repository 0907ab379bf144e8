// SPDX-License-Identifier: MIT
// PRetry: makes calls of the system again that a signal interrupted.
#ifndef IXLAL_PRETRY_H
#define IXLAL_PRETRY_H

#include <cerrno>

/// Network and user-space file systems let signals interrupt any call on a path or a file, not
/// only reading and writing. Most of these calls would also let a cancelled thread end: a
/// PCancelGuard stands around them, here or further out.
struct PRetry
{
    /// The result of iCall, which tells failures by a negative number and errno.
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
