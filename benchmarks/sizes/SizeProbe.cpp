// SPDX-License-Identifier: MIT
#include "sizes/SizeProbe.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "IEventListener.h"
#include "PBaseptr.h"
#include "helpers/PCounted.h"
#include "support/Allocations.h"
#include "support/CoreHost.h"
#include "support/LibraryCopies.h"

#include <cstdio>
#include <string>
#include <vector>

namespace
{
class Listener final : public PCounted<IEventListener>
{
public:
    int handleEvent(const PLiteral&, IBase*, int) override
    {
        return 0;
    }
};

std::string _lines(int iCount)
{
    std::string lines;
    for (int i = 0; i < iCount; ++i)
    {
        char line[32];
        std::snprintf(line, sizeof(line), "key.%07d = value%04d\n", i, i % 10000);
        lines += line;
    }
    return lines;
}

std::vector<PBaseptr<IEventListener>> _listeners(ESized iWhat, int iCount)
{
    std::vector<PBaseptr<IEventListener>> listeners;
    for (int i = 0; iWhat == eListeners && i < iCount; ++i)
    {
        listeners.push_back(PBaseptr<IEventListener>::adopt(new Listener));
    }
    return listeners;
}

HostSetup _setup(ESized iWhat, int iCount)
{
    HostSetup setup;
    setup.interfaces = iWhat == eInterfaces ? iCount : 0;
    setup.config = _lines(iWhat == eKeys ? iCount : 0);
    if (iWhat == ePlugins && iCount > 0)
    {
        setup.pluginsDir = LibraryCopies::plugins(iCount).string();
    }
    return setup;
}
} // namespace

/// The name is kSizeProbe.
extern "C" [[gnu::visibility("default")]] long long benchSizeProbe(ESized iWhat, int iCount)
{
    CoreHost::stop();
    const HostSetup setup = _setup(iWhat, iCount);
    const auto listeners = _listeners(iWhat, iCount);
    PBaseptr<IConfig> config;
    if (iWhat == eKeys)
    {
        // The core's host keeps a copy of the file's text.
        CoreHost::need(setup);
    }
    const long long before = Allocations::held();
    CoreHost::need(setup);
    int result = CoreHost::get<IConfigManager>(kIxlaConfigManagerId)->loadByID(L"bench", config);
    IEventDispatcher* const dispatcher = CoreHost::get<IEventDispatcher>(kIxlaEventDispatcherId);
    for (const PBaseptr<IEventListener>& listener : listeners)
    {
        result |= dispatcher->addListener(L"topic", listener.get());
    }
    return result == 0 ? Allocations::held() - before : -1;
}
