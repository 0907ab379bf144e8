// SPDX-License-Identifier: MIT
// A plugin without interfaces. TEST_PLUGIN_ARRAY and TEST_PLUGIN_COUNT are the results of
// getInterfaces.

#include "IPlugin.h"
#include "Ixla.h"
#include "support/Counted.h"

extern "C" int ixlalTestStep(const char* iStep);

namespace
{
class OddInterfacesPlugin final : public Counted<IPlugin>
{
public:
    ~OddInterfacesPlugin() override
    {
        ixlalTestStep(TEST_PLUGIN_NAME ".destroyed");
    }

    int init() override
    {
        return ixlalTestStep(TEST_PLUGIN_NAME ".init");
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        oCount = TEST_PLUGIN_COUNT;
        return TEST_PLUGIN_ARRAY;
    }

    int getInstance(const PLiteral&, IBase*& oInstance) override
    {
        oInstance = nullptr;
        return eIxlaUnknownInterface;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new OddInterfacesPlugin;
}
