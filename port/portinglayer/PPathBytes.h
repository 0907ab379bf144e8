// SPDX-License-Identifier: MIT
// PPathBytes: a path as bytes for the operating system.
#ifndef IXLAL_PPATHBYTES_H
#define IXLAL_PPATHBYTES_H

#include "PLiteral.h"

#include <climits>

/// Converts a path. Allocates no memory: the longest path of the system fits in the object.
class PPathBytes
{
public:
    /// Converts iPath, with iPrefix, a narrow text of a few characters, before it.
    explicit PPathBytes(const PLiteral& iPath, const char* iPrefix = "") noexcept;

    PPathBytes(const PPathBytes&) = delete;
    PPathBytes& operator=(const PPathBytes&) = delete;

    /// 0, -22 for a text that is not a path, -36 for one that is too long.
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
