// SPDX-License-Identifier: MIT
// PErrno: turns the error numbers of the operating system into result codes.
#ifndef IXLAL_PERRNO_H
#define IXLAL_PERRNO_H

#include <cerrno>

/// The one place where an errno becomes a result code of the porting layer.
struct PErrno
{
    /// The code of a call that returns its error number; 0 stays 0.
    static int code(int iErrno) noexcept
    {
        return -iErrno;
    }

    /// The code of a call that failed and left its error number in errno.
    static int last() noexcept
    {
        return code(errno != 0 ? errno : EIO);
    }
};

#endif
