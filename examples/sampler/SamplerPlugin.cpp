#include "Ixla.h"
#include "sampler/PSampler.h"
#include "shared/ISample.h"
#include "shared/PServicePlugin.h"

#include <new>

IPlugin* ixlaGetPlugin()
{
    return new (std::nothrow) PServicePlugin<PSampler>(kSamplerId);
}
