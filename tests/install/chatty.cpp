// SPDX-License-Identifier: MIT
// A plugin with more exported symbols than its factory, which the version script must hide.

#include "Ixla.h"

#include <string>

IXLA_EXPORT std::string second()
{
    static std::string sText = "more";
    return sText;
}

IPlugin* ixlaGetPlugin()
{
    return nullptr;
}
