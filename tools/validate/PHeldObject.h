// SPDX-License-Identifier: MIT
// PHeldObject: an object behind an interface that a check holds, to count its other holders.
#ifndef IXLAL_TOOLS_PHELDOBJECT_H
#define IXLAL_TOOLS_PHELDOBJECT_H

#include "IBase.h"

/// Takes so many references that one which somebody else drops too often does not destroy the
/// object. Only drop() releases them.
class PHeldObject
{
public:
    explicit PHeldObject(IBase& ioObject);

    /// The references of others; negative when they have dropped more than they took.
    int others() const;

    /// Whether both objects count their references together, as the interfaces of one service do.
    bool sharesCount(const PHeldObject& iOther) const;

    /// Releases those of the references that are still there.
    void drop();

private:
    static void change(IBase& ioObject, int iReferences);

    IBase* fObject;
};

#endif
