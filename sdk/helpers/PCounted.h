// SPDX-License-Identifier: MIT
// PCounted: the count of references that every object behind an interface keeps.
#ifndef IXLAL_SDK_PCOUNTED_H
#define IXLAL_SDK_PCOUNTED_H

#include "portinglayer/PCounterSync.h"

/// Implements incRef and decRef for a class that offers one interface or several. An object is made
/// with new, begins with a count of 0, and destroys itself when its count returns to 0; hand it to
/// PBaseptr<...>::adopt at once. References may be added and dropped on any thread.
template <class TInterface, class... TMore>
class PCounted : public TInterface, public TMore...
{
public:
    /// What the users of the object see: the first of its interfaces.
    typedef TInterface Interface;

    PCounted(const PCounted&) = delete;
    PCounted& operator=(const PCounted&) = delete;

    /// Counts one holder more.
    int incRef() noexcept override
    {
        return ++fRefCount;
    }

    /// Counts one holder less; the object goes with the last one.
    int decRef() noexcept override
    {
        const int count = fRefCount.change(-1);
        if (count == 0)
        {
            delete this;
        }
        return count;
    }

protected:
    PCounted() noexcept : fRefCount(0)
    {
    }

    virtual ~PCounted()
    {
    }

private:
    PCounterSync fRefCount;
};

#endif
