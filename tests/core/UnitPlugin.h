// SPDX-License-Identifier: MIT
// UnitPlugin: a plugin inside the test binary, for tests of single parts of the core.
#ifndef IXLAL_TESTS_UNITPLUGIN_H
#define IXLAL_TESTS_UNITPLUGIN_H

#include "IPlugin.h"
#include "core/PCorePlugin.h"
#include "support/PluginService.h"

#include <functional>
#include <memory>

/// The functions are called when they are set.
class UnitPlugin final : public PluginService
{
public:
    explicit UnitPlugin(std::vector<PString> iIDs = {}) : PluginService(std::move(iIDs))
    {
    }

    int init() override
    {
        return onInit ? onInit() : 0;
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        if (onList)
        {
            onList();
        }
        return PluginService::getInterfaces(oCount);
    }

    /// A record that holds this plugin.
    std::unique_ptr<PCorePlugin> record()
    {
        auto made = std::make_unique<PCorePlugin>();
        made->fPlugin = this;
        made->fInterfaceIDs = PPtr<PString>::adopt(getInterfaces(made->fInterfaceCount), ePtrArray);
        return made;
    }

    std::function<int()> onInit;
    std::function<void()> onList;
    std::function<void()> onDestroyed;

private:
    ~UnitPlugin() override
    {
        if (onDestroyed)
        {
            onDestroyed();
        }
    }
};

#endif
