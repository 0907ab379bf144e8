// SPDX-License-Identifier: MIT
// PSample: the parameter of the sampler's events.
#ifndef IXLAL_EXAMPLES_PSAMPLE_H
#define IXLAL_EXAMPLES_PSAMPLE_H

#include "helpers/PCounted.h"
#include "shared/ISample.h"

class PSample : public PCounted<ISample>
{
public:
    PSample(int iLoad, int iMemory) : fLoad(iLoad), fMemory(iMemory)
    {
    }

    int getLoad() const override
    {
        return fLoad;
    }

    int getMemory() const override
    {
        return fMemory;
    }

private:
    const int fLoad;
    const int fMemory;
};

#endif
