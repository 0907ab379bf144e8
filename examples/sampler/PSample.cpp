#include "sampler/PSample.h"

PSample::PSample(int iLoad, int iMemory) : fLoad(iLoad), fMemory(iMemory)
{
}

int PSample::getLoad() const
{
    return fLoad;
}

int PSample::getMemory() const
{
    return fMemory;
}
