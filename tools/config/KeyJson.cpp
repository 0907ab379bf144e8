// SPDX-License-Identifier: MIT
#include "config/KeyJson.h"

#include <iostream>

nlohmann::json keyJson(const DeclaredKey& iKey)
{
    nlohmann::json json = {{"key", iKey.name},
                           {"type", nameOfType(iKey.type)},
                           {"default", iKey.byDefault},
                           {"change", iKey.changes ? "run-time" : "start"},
                           {"description", iKey.description}};
    if (isNumber(iKey.type))
    {
        json["low"] = iKey.low;
        json["high"] = iKey.high;
        json["unit"] = iKey.unit;
    }
    if (iKey.type == DeclaredKey::eChoice)
    {
        json["choices"] = iKey.choices;
    }
    return json;
}

void printJson(const nlohmann::json& iJson)
{
    std::cout << iJson.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}
