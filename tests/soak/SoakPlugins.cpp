// SPDX-License-Identifier: MIT
#include "soak/SoakPlugins.h"

#include "portinglayer/PExport.h"

#include <cstring>

std::atomic<unsigned int> SoakSteps::inits{0};
std::atomic<unsigned int> SoakSteps::made{0};
std::atomic<unsigned int> SoakSteps::destroyed{0};
std::atomic<unsigned int> SoakSteps::unmapped{0};
std::atomic<unsigned int> SoakSteps::events{0};

namespace
{
struct Step
{
    const char* name;
    std::atomic<unsigned int>& count;
};

const Step sSteps[] = {{".init", SoakSteps::inits},
                       {".factory", SoakSteps::made},
                       {".destroyed", SoakSteps::destroyed},
                       {".unmapped", SoakSteps::unmapped},
                       {".event", SoakSteps::events}};
} // namespace

/// Called by the test plugins.
extern "C" IXLA_EXPORT int ixlalTestStep(const char* iStep);

extern "C" int ixlalTestStep(const char* iStep)
{
    for (const Step& step : sSteps)
    {
        if (std::strcmp(std::strchr(iStep, '.'), step.name) == 0)
        {
            step.count.fetch_add(1, std::memory_order_relaxed);
        }
    }
    return 0;
}
