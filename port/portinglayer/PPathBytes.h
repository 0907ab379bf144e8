// SPDX-License-Identifier: MIT
// PPathBytes: a path in the bytes that the operating system takes.
#ifndef IXLAL_PPATHBYTES_H
#define IXLAL_PPATHBYTES_H

#include "PLiteral.h"

#include <climits>

/// Converts a path. Needs no memory: the system takes no longer paths than fit in here.
class PPathBytes
{
public:
    /// Puts iPrefix, a narrow text of at most a few characters, before the path.
    explicit PPathBytes(const PLiteral& iPath, const char* iPrefix = "") noexcept;

    PPathBytes(const PPathBytes&) = delete;
    PPathBytes& operator=(const PPathBytes&) = delete;

    /// 0, -22 for a text that no path can be, -36 for one that is too long.
    int result() const noexcept
    {
        return fResult;
    }

    /// The zero-terminated bytes; only valid when result() is 0.
    const char* get() const noexcept
    {
        return fBytes;
    }

private:
    char fBytes[PATH_MAX];
    int fResult;
};

#endif
