// SPDX-License-Identifier: MIT
#include "soak/LookupWorker.h"

#include "Ixla.h"
#include "plugins/ITestService.h"
#include "soak/SoakPlugins.h"

#include <iterator>

void LookupWorker::begin()
{
    fUnloaded = 0;
}

void LookupWorker::step()
{
    if (fUnloaded < std::size(kSoakLeavingIds) && pick(500) == 0)
    {
        unloadNext();
    }
    lookUp();
    lookUpUnknown();
}

void LookupWorker::end()
{
    while (fUnloaded < std::size(kSoakLeavingIds))
    {
        unloadNext();
    }
}

void LookupWorker::lookUp()
{
    const wchar_t* const ids[] = {kSoakStayId, kSoakStaySecondId, kIxlaConfigManagerId,
                                  kIxlaEventDispatcherId, kIxlaLoggerId};
    const wchar_t* const id = ids[pick(std::size(ids))];
    check("availability", ixlaIsInterfaceAvailable(id), "not available");
    check("get instance", static_cast<bool>(service<IBase>(id)), "no instance");
}

void LookupWorker::lookUpUnknown()
{
    IBase* instance = nullptr;
    expect("get unknown instance", -2001, ixlaGetInstance(L"soak.unknown", instance));
    check("availability", !ixlaIsInterfaceAvailable(L"soak.unknown"), "available");
}

void LookupWorker::unloadNext()
{
    const wchar_t* const id = kSoakLeavingIds[fUnloaded++];
    IBase* instance = nullptr;
    const int result = ixlaGetInstance(id, instance);
    expect("get instance", 0, result);
    if (result != 0)
    {
        return;
    }
    IPlugin* const plugin = static_cast<ITestService*>(instance)->getPlugin();
    expect("unload", 0, ixlaUnloadPlugin(plugin));
    expect("unload again", -1016, ixlaUnloadPlugin(plugin));
    expect("get unloaded instance", -2001, ixlaGetInstance(id, instance));
    check("availability", !ixlaIsInterfaceAvailable(id), "available after unload");
}
