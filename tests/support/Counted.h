// SPDX-License-Identifier: MIT
// Counted: the reference count of the objects of tests and test plugins.
#ifndef IXLAL_TESTS_COUNTED_H
#define IXLAL_TESTS_COUNTED_H

#include "portinglayer/PCounterSync.h"

template <class TInterface>
class Counted : public TInterface
{
public:
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

protected:
    virtual ~Counted() = default;

private:
    PCounterSync fRefCount{0};
};

#endif
