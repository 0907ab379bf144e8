// SPDX-License-Identifier: MIT
// A plugin that stores values from its init on, until the process is killed or the store is
// damaged: then it ends the process with exit code 9. FIRST in the environment is the number of the
// first value; each value begins with its number, which grows.

#include "IConfigManager.h"
#include "IPlugin.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "helpers/Text.h"
#include "support/PluginService.h"

#include <cstdlib>
#include <random>
#include <string>

namespace
{
constexpr unsigned int kKeys = 12;
constexpr int kStoreFailed = 9;
constexpr unsigned int kLongest = 3000;

class StoringPlugin final : public PluginService
{
public:
    using PluginService::PluginService;

    int init() override
    {
        IBase* instance = nullptr;
        int result = ixlaGetInstance(kIxlaConfigManagerId, instance);
        const PBaseptr<IConfigManager> manager(static_cast<IConfigManager*>(instance));
        const char* const first = std::getenv("FIRST");
        unsigned long number = first ? std::strtoul(first, nullptr, 10) : 0;
        std::minstd_rand random(static_cast<unsigned int>(number + 1));
        while (result == 0)
        {
            const std::string key = "k" + std::to_string(10 + random() % kKeys);
            const std::string text =
                std::to_string(number++) + "." + std::string(random() % kLongest, 'x');
            result = manager->storeString(L"net", ixlaWide(key), ixlaWide(text));
        }
        std::_Exit(kStoreFailed);
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new StoringPlugin({L"test.storing"});
}
