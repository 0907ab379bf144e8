// SPDX-License-Identifier: MIT
// PCodeOwner: which library the code of an object belongs to.
#ifndef IXLAL_PCODEOWNER_H
#define IXLAL_PCODEOWNER_H

#include "PString.h"

/// Remembers the virtual function table of an object, so that its library can be named after the
/// object has been destroyed. [any thread]
class PCodeOwner
{
public:
    /// iObject is the address of an object with virtual functions.
    explicit PCodeOwner(const void* iObject) noexcept
        : fTable(*static_cast<const void* const*>(iObject))
    {
    }

    /// The path of the library that is now mapped at the table's address; "(program)" for the
    /// program itself. A long path is truncated. Does not wait for constructors or destructors that
    /// the loader runs. Returns 0, -2 when no library is mapped there, or -12.
    int getPath(PString& oPath) const noexcept;

private:
    const void* fTable;
};

#endif
