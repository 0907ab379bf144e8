// PSample: the payload of the sampler's events.
#ifndef IXLAL_EXAMPLES_PSAMPLE_H
#define IXLAL_EXAMPLES_PSAMPLE_H

#include "shared/ISample.h"
#include "shared/PCounted.h"

class PSample : public PCounted<ISample>
{
public:
    PSample(int iLoad, int iMemory);

    int getLoad() const override;
    int getMemory() const override;

private:
    const int fLoad;
    const int fMemory;
};

#endif
