// SPDX-License-Identifier: MIT
// PCodeOwner: which library the code of an object belongs to.
#ifndef IXLAL_PCODEOWNER_H
#define IXLAL_PCODEOWNER_H

#include "PString.h"

/// Knows an object by its table of virtual functions, so that its library can be named when the
/// object is gone. [any thread]
class PCodeOwner
{
public:
    /// iObject is the address of an object with virtual functions.
    explicit PCodeOwner(const void* iObject) noexcept
        : fTable(*static_cast<const void* const*>(iObject))
    {
    }

    /// The path of the library that is mapped there now; "(program)" for the program itself. A long
    /// path is cut. Does not wait for constructors or destructors that the loader runs.
    /// Returns 0, -2 when there is none, or -12.
    int getPath(PString& oPath) const noexcept;

private:
    const void* fTable;
};

#endif
