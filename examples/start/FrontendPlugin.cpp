// SPDX-License-Identifier: MIT
// A plugin that needs both others and initialises them at the same time, on two threads.

#include "helpers/PPlugin.h"
#include "start/Start.h"

#include <future>

namespace
{
class Frontend : public PService<IBase>
{
public:
    int onInit() override
    {
        std::future<int> connecting =
            std::async(std::launch::async, [] { return initialise(kNetworkId); });
        const int stored = initialise(kStorageId);
        pretendToWork(10);
        const int used = initialise(kNetworkId); // waits for the thread
        const int connected = connecting.get();
        pretendToWork(15);
        return firstFailure(stored, used, connected);
    }

private:
    static int firstFailure(int iStored, int iUsed, int iConnected)
    {
        if (iStored != eIxlaOk)
        {
            return iStored;
        }
        return iUsed != eIxlaOk ? iUsed : iConnected;
    }
};

class FrontendPlugin : public PPlugin
{
public:
    FrontendPlugin()
    {
        offer<Frontend>(kFrontendId);
    }
};
} // namespace

IXLA_PLUGIN(FrontendPlugin)
