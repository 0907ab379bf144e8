// SPDX-License-Identifier: MIT
// A plugin with as many interface IDs as an environment variable says. The plugin itself is the
// service behind all of them; it recognises them by their prefix.

#include "support/InterfacesPlugin.h"

#include "IPlugin.h"
#include "Ixla.h"
#include "helpers/PCounted.h"

#include <cstdlib>
#include <memory>
#include <string_view>

namespace
{
constexpr std::wstring_view kPrefix(L"com.kelvora.bench.");

class InterfacesPlugin final : public PCounted<IPlugin>
{
public:
    int init() override
    {
        return eIxlaOk;
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        const char* const number = std::getenv(kInterfacesVariable);
        oCount = number ? static_cast<unsigned int>(std::atoi(number)) : 0;
        std::unique_ptr<PString[]> ids(new PString[oCount]);
        for (unsigned int i = 0; i < oCount; ++i)
        {
            ids[i] = benchInterfaceId(static_cast<int>(i)).c_str();
        }
        return ids.release();
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) override
    {
        // As the floor's provider, so that the difference is the core's.
        const bool known =
            std::wstring_view(iInterfaceId.ptr(), iInterfaceId.len()).starts_with(kPrefix);
        oInstance = known ? this : nullptr;
        return known ? eIxlaOk : eIxlaUnknownInterface;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new InterfacesPlugin;
}
