// SPDX-License-Identifier: MIT
#include "config/KeysCommand.h"

#include "config/KeyJson.h"
#include "config/PToolError.h"
#include "shared/CoreKeys.h"

#include <iostream>

namespace
{
void _printKey(const CoreKey& iKey)
{
    std::cout << iKey.name << ": " << iKey.meaning << "\n    " << typeText(iKey.type) << "; "
              << placesText(iKey.places) << "; default: " << iKey.byDefault << '\n';
}

nlohmann::json _jsonOf(const CoreKey& iKey)
{
    return {{"key", iKey.name},
            {"type", typeText(iKey.type)},
            {"place", placesText(iKey.places)},
            {"default", iKey.byDefault},
            {"meaning", iKey.meaning}};
}
} // namespace

int runCoreKeys(bool iJson)
{
    nlohmann::json all = nlohmann::json::array();
    for (const CoreKey& key : coreKeys())
    {
        all.push_back(_jsonOf(key));
        if (!iJson)
        {
            _printKey(key);
        }
    }
    if (iJson)
    {
        printJson({{"keys", all}});
    }
    return eExitOk;
}
