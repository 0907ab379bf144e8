// SPDX-License-Identifier: MIT
// A plugin without interfaces. TEST_PLUGIN_ARRAY and TEST_PLUGIN_COUNT are the results of
// getInterfaces.

#include "IPlugin.h"
#include "Ixla.h"
#include "portinglayer/PCounterSync.h"

extern "C" int ixlalTestStep(const char* iStep);

namespace
{
class OddInterfacesPlugin final : public IPlugin
{
public:
    virtual ~OddInterfacesPlugin()
    {
        ixlalTestStep(TEST_PLUGIN_NAME ".destroyed");
    }

    int incRef() override
    {
        return ++fRefCount;
    }

    int decRef() override
    {
        const int count = fRefCount.change(-1);
        if (count == 0)
        {
            delete this;
        }
        return count;
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

private:
    PCounterSync fRefCount{0};
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new OddInterfacesPlugin;
}
