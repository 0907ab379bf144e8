// SPDX-License-Identifier: MIT
// A plugin that declares a key, and reads keys of another ID without declaring them. With the flaw
// "value" it also reads a key of its own that it does not declare, with "attribute" an
// attribute of one.

#include "checks/Flaw.h"
#include "helpers/PKeyedConfig.h"
#include "helpers/PPlugin.h"

namespace
{
IXLA_CONFIG(KeyedConfig, "test.keyed",
            IXLA_KEY_UINT32(limit, "limit", 100, 1, 10000, "jobs", "run-time", "waiting jobs"))

class Service : public PService<IBase>
{
public:
    int onInit() override
    {
        int ignored = fConfig.load();
        if (hasFlaw("value"))
        {
            (void)fConfig.config()->getInt32(L"size", ignored);
        }
        if (hasFlaw("attribute"))
        {
            PString text;
            (void)fConfig.config()->getAttrString(L"size", L"unit", text);
        }
        return readOthers();
    }

private:
    static int readOthers()
    {
        const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>();
        PBaseptr<IConfig> other;
        int ignored = manager->loadByID(L"test.other", other);
        (void)other->getInt32(L"size", ignored);
        return manager->appendByID(L"test.other", other);
    }

    KeyedConfig fConfig;
};

class KeyedPlugin : public PPlugin
{
public:
    KeyedPlugin()
    {
        offer<Service>(L"test.keyed.service");
    }
};
} // namespace

IXLA_PLUGIN(KeyedPlugin)
