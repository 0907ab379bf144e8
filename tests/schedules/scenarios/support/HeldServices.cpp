// SPDX-License-Identifier: MIT
#include "scenarios/support/HeldServices.h"

#include "Scenario.h"

#include "helpers/ServiceLookup.h"

HeldServices::HeldServices(ELogs iLogs)
{
    const schedules::Reliable reliable;
    core.writeConfig("ixlap.configmanager.prs",
                     "ixlap.configmanager.store.file = store.txt\nnet = net.prs\n");
    core.writeConfig("net.prs", "own = own\npinned = own\npinned:const = true\n");
    core.writeConfig("store.txt", "net|stored = stored\nnet|pinned = stored\nnet|set = stored\n");
    if (iLogs == eWithLogs)
    {
        core.writeLogs();
    }
    core.keepLibraries();
    core.mustStart();
    manager = ixlaService<IConfigManager>();
    dispatcher = ixlaService<IEventDispatcher>();
    logger = ixlaService<ILogger>();
    schedules::require(manager && dispatcher && logger, "the core has its services");
    schedules::requireEqual(0, manager->loadByID(L"net", config), "the configuration is loaded");
}

std::wstring HeldServices::read(const wchar_t* iKey) const
{
    PString text;
    const int result = config->getString(iKey, text);
    return result == 0 ? std::wstring(text.ptr(), text.len()) : std::to_wstring(result);
}
