// SPDX-License-Identifier: MIT
// PErrno: converts errno values to result codes.
#ifndef IXLAL_PERRNO_H
#define IXLAL_PERRNO_H

#include <cerrno>

/// The one place where an errno becomes a result code of the porting layer.
struct PErrno
{
    /// The code for a call that returned its error number; 0 stays 0.
    static int code(int iErrno) noexcept
    {
        return -iErrno;
    }

    /// The code for a call that failed and set errno.
    static int last() noexcept
    {
        return code(errno != 0 ? errno : EIO);
    }
};

#endif
