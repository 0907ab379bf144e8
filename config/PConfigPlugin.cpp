// SPDX-License-Identifier: MIT
#include "config/PConfigPlugin.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "config/PConfigManager.h"

#include <memory>
#include <new>

PConfigPlugin::PConfigPlugin() noexcept : fRefCount(0)
{
}

PConfigPlugin::~PConfigPlugin()
{
    PConfigManager* const manager = static_cast<PConfigManager*>(fManager.get());
    // A closed manager is not locked, because another thread may hold its lock for long.
    if (manager && !manager->isClosed())
    {
        manager->cleanup();
    }
}

int PConfigPlugin::incRef() noexcept
{
    return ++fRefCount;
}

int PConfigPlugin::decRef() noexcept
{
    const int count = fRefCount.change(-1);
    if (count == 0)
    {
        delete this;
    }
    return count;
}

int PConfigPlugin::init() noexcept
{
    return ixlaGuarded(
        [this]
        {
            fManager = PBaseptr<IBase>::adopt(new PConfigManager);
            return eIxlaOk;
        });
}

PString* PConfigPlugin::getInterfaces(unsigned int& oCount) noexcept
{
    oCount = 0;
    std::unique_ptr<PString[]> ids(new (std::nothrow) PString[1]);
    if (!ids || ids[0].set(kIxlaConfigManagerId) != 0)
    {
        return nullptr;
    }
    oCount = 1;
    return ids.release();
}

int PConfigPlugin::getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept
{
    if (iInterfaceId.cmp(kIxlaConfigManagerId) != 0)
    {
        oInstance = nullptr;
        return eIxlaUnknownInterface;
    }
    if (!fManager)
    {
        return eIxlaNoInstance;
    }
    oInstance = fManager.get();
    return eIxlaOk;
}
