// SPDX-License-Identifier: MIT
// A plugin with TEST_PLUGIN_COUNT interface IDs of TEST_PLUGIN_LENGTH characters each. Every ID
// starts with "test.", continues with dots and ends with its number. The plugin itself is the
// service behind all of them.

#include "IPlugin.h"
#include "Ixla.h"
#include "support/Counted.h"

#include <memory>
#include <string>

extern "C" int ixlalTestStep(const char* iStep);

namespace
{
PString _id(unsigned int iNumber)
{
    const std::wstring number = std::to_wstring(iNumber);
    std::wstring id = L"test.";
    id.resize(TEST_PLUGIN_LENGTH - number.size(), L'.');
    return PString((id + number).c_str());
}

class GeneratedInterfacesPlugin final : public Counted<IPlugin>
{
public:
    ~GeneratedInterfacesPlugin() override
    {
        ixlalTestStep(TEST_PLUGIN_NAME ".destroyed");
    }

    int init() override
    {
        return ixlalTestStep(TEST_PLUGIN_NAME ".init");
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        std::unique_ptr<PString[]> ids(new PString[TEST_PLUGIN_COUNT]);
        for (oCount = 0; oCount < TEST_PLUGIN_COUNT; ++oCount)
        {
            ids[oCount] = _id(oCount);
        }
        return ids.release();
    }

    int getInstance(const PLiteral&, IBase*& oInstance) override
    {
        oInstance = this;
        return eIxlaOk;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new GeneratedInterfacesPlugin;
}
