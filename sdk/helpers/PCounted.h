// SPDX-License-Identifier: MIT
// PCounted: the reference count of an object behind an interface.
#ifndef IXLAL_SDK_PCOUNTED_H
#define IXLAL_SDK_PCOUNTED_H

#include "IBase.h"
#include "portinglayer/PCounterSync.h"

/// Implements incRef and decRef for a class with one interface or several. Create objects with new
/// only, and pass them to PBaseptr<...>::adopt at once: the count starts at 0, and the object
/// destroys itself when the count returns to 0. References may be added and dropped on any thread.
template <class TInterface, class... TMore>
class PCounted : public TInterface, public TMore...
{
public:
    /// The first of the interfaces.
    typedef TInterface Interface;

    /// The number of interfaces.
    static constexpr unsigned int kInterfaces = 1 + sizeof...(TMore);

    PCounted(const PCounted&) = delete;
    PCounted& operator=(const PCounted&) = delete;

    /// Adds a reference; returns the new count. [any thread]
    int incRef() noexcept override
    {
        return ++fRefCount;
    }

    /// Drops a reference; returns the new count. At 0 the object is destroyed. [any thread]
    int decRef() noexcept override
    {
        const int count = fRefCount.change(-1);
        if (count == 0)
        {
            delete this;
        }
        return count;
    }

    /// The object as its interface number iIndex, counted from 0 in the order of the parameters of
    /// the template. [any thread]
    IBase* asInterface(unsigned int iIndex) noexcept
    {
        // cppcheck-suppress constVariable; the pointers are const, and not what they point to
        IBase* const all[] = {static_cast<TInterface*>(this), static_cast<TMore*>(this)...};
        return all[iIndex];
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
