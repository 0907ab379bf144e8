// SPDX-License-Identifier: MIT
#include "events/PEventDispatcherPlugin.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "events/PEventDispatcher.h"

#include <memory>

PEventDispatcherPlugin::PEventDispatcherPlugin() : fRefCount(0)
{
}

PEventDispatcherPlugin::~PEventDispatcherPlugin() = default;

int PEventDispatcherPlugin::incRef() noexcept
{
    return ++fRefCount;
}

int PEventDispatcherPlugin::decRef() noexcept
{
    const int count = fRefCount.change(-1);
    if (count == 0)
    {
        delete this;
    }
    return count;
}

int PEventDispatcherPlugin::init() noexcept
{
    return ixlaGuarded([this] { return createInstance(); });
}

int PEventDispatcherPlugin::createInstance()
{
    auto* const dispatcher = new PEventDispatcher;
    fInstance = PBaseptr<IBase>::adopt(dispatcher);
    const int result = dispatcher->init();
    if (result != 0)
    {
        fInstance.clear();
    }
    return result;
}

PString* PEventDispatcherPlugin::getInterfaces(unsigned int& oCount) noexcept
{
    std::unique_ptr<PString[]> interfaces;
    const int result = ixlaGuarded(
        [&interfaces]
        {
            interfaces.reset(new PString[1]);
            interfaces[0] = kIxlaEventDispatcherId;
            return eIxlaOk;
        });
    if (result != eIxlaOk)
    {
        return nullptr;
    }
    oCount = 1;
    return interfaces.release();
}

int PEventDispatcherPlugin::getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept
{
    if (iInterfaceId.cmp(kIxlaEventDispatcherId) != 0)
    {
        oInstance = nullptr;
        return eIxlaUnknownInterface;
    }
    oInstance = fInstance.get();
    return eIxlaOk;
}
