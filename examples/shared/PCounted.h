// PCounted: reference counting for the classes of the examples.
#ifndef IXLAL_EXAMPLES_PCOUNTED_H
#define IXLAL_EXAMPLES_PCOUNTED_H

#include "portinglayer/PCounterSync.h"

/// Implements incRef and decRef for one interface or several.
template <class... TInterfaces>
class PCounted : public TInterfaces...
{
public:
    PCounted() : fRefCount(0)
    {
    }

    PCounted(const PCounted&) = delete;
    PCounted& operator=(const PCounted&) = delete;

    int incRef() override
    {
        return ++fRefCount;
    }

    int decRef() override
    {
        const int count = fRefCount.change(-1);
        if (count == 0)
        {
            delete this;
        }
        return count;
    }

    virtual ~PCounted()
    {
    }

private:
    PCounterSync fRefCount;
};

#endif
