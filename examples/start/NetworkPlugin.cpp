// SPDX-License-Identifier: MIT
// A plugin that needs the storage in the middle of its init.

#include "helpers/PPlugin.h"
#include "start/Start.h"

namespace
{
class Network : public PService<IBase>
{
public:
    int onInit() override
    {
        pretendToWork(15);
        const int result = initialise(kStorageId);
        pretendToWork(40);
        return result;
    }
};

class NetworkPlugin : public PPlugin
{
public:
    NetworkPlugin()
    {
        offer<Network>(kNetworkId);
    }
};
} // namespace

IXLA_PLUGIN(NetworkPlugin)
