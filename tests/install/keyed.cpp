// SPDX-License-Identifier: MIT
// A plugin with declared keys.

#include "helpers/PKeyedConfig.h"
#include "helpers/PPlugin.h"

namespace
{
IXLA_CONFIG(KeyedConfig, "com.example.keyed",
            IXLA_KEY_UINT32(size, "size", 5, 1, 10, "m", "run-time", "how large it is"))

class Keyed : public PService<IBase>
{
public:
    int onInit() override
    {
        return fConfig.load();
    }

private:
    KeyedConfig fConfig;
};

class KeyedPlugin : public PPlugin
{
public:
    KeyedPlugin()
    {
        offer<Keyed>(L"com.example.keyed");
    }
};
} // namespace

IXLA_PLUGIN(KeyedPlugin)
