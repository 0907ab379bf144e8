// SPDX-License-Identifier: MIT
// A plugin that needs no other.

#include "helpers/PPlugin.h"
#include "start/Start.h"

namespace
{
class Storage : public PService<IBase>
{
public:
    int onInit() override
    {
        pretendToWork(90);
        return eIxlaOk;
    }
};

class StoragePlugin : public PPlugin
{
public:
    StoragePlugin()
    {
        offer<Storage>(kStorageId);
    }
};
} // namespace

IXLA_PLUGIN(StoragePlugin)
