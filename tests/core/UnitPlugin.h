// SPDX-License-Identifier: MIT
// UnitPlugin: a plugin inside the test binary, for tests of single parts of the core.
#ifndef IXLAL_TESTS_UNITPLUGIN_H
#define IXLAL_TESTS_UNITPLUGIN_H

#include "IPlugin.h"
#include "core/PCorePlugin.h"
#include "support/Counted.h"

#include <functional>
#include <memory>
#include <vector>

/// Hands out itself for every interface. The functions are called when they are set.
class UnitPlugin final : public Counted<IPlugin>
{
public:
    explicit UnitPlugin(std::vector<PString> iIDs = {}) : fIDs(std::move(iIDs))
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
        oCount = static_cast<unsigned int>(fIDs.size());
        PString* const ids = new PString[oCount];
        std::copy(fIDs.begin(), fIDs.end(), ids);
        return ids;
    }

    int getInstance(const PLiteral&, IBase*& oInstance) override
    {
        oInstance = this;
        return 0;
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

    const std::vector<PString> fIDs;
};

#endif
