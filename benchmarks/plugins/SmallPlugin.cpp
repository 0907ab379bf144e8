// SPDX-License-Identifier: MIT
// A plugin with one interface ID, to be copied: the copies differ in the digits of the ID.

#include "support/SmallPlugin.h"

#include "IPlugin.h"
#include "Ixla.h"
#include "helpers/PCounted.h"

#include <memory>

// The names are kSmallPluginHook and, in the bytes of the library, kSmallPluginId.
extern "C"
{
    [[gnu::visibility("default")]] SmallPluginHook benchOnInit = nullptr;
    [[gnu::visibility(
        "default")]] extern const wchar_t benchId[sizeof kSmallPluginId / sizeof(wchar_t)];
    // Exported, so that the compiler does not rely on its content.
    const wchar_t benchId[] = L"com.kelvora.bench.small.00000";
}

namespace
{
class SmallPlugin final : public PCounted<IPlugin>
{
public:
    int init() override
    {
        if (benchOnInit)
        {
            benchOnInit();
        }
        return eIxlaOk;
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        std::unique_ptr<PString[]> ids(new PString[1]);
        ids[0] = benchId;
        oCount = 1;
        return ids.release();
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) override
    {
        const bool known = iInterfaceId.cmp(benchId) == 0;
        oInstance = known ? this : nullptr;
        return known ? eIxlaOk : eIxlaUnknownInterface;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new SmallPlugin;
}
