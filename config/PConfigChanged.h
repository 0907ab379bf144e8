// SPDX-License-Identifier: MIT
// PConfigChanged: the event object that announces a set run-time value.
#ifndef IXLAL_PCONFIGCHANGED_H
#define IXLAL_PCONFIGCHANGED_H

#include "IConfigChanged.h"
#include "portinglayer/PCounterSync.h"

/// Constant after construction, so that any number of threads may read it. Created on the heap;
/// destroys itself with its last reference.
class PConfigChanged final : public IConfigChanged
{
public:
    /// Copies the texts. Throws std::bad_alloc.
    PConfigChanged(EConfigChnagedType iType, const PLiteral& iID, const PLiteral& iKey,
                   const PLiteral& iAttribute);

    PConfigChanged(const PConfigChanged&) = delete;
    PConfigChanged& operator=(const PConfigChanged&) = delete;

    int incRef() noexcept override;
    int decRef() noexcept override;

    EConfigChnagedType getType() const noexcept override;
    int getID(PString& oID) const noexcept override;
    int getKey(PString& oKey) const noexcept override;
    int getAttribute(PString& oAttribute) const noexcept override;

private:
    ~PConfigChanged() = default;

    PCounterSync fRefCount;
    const EConfigChnagedType fType;
    const PString fID;
    const PString fKey;
    const PString fAttribute;
};

#endif
