// SPDX-License-Identifier: MIT
// A plugin that would export more than its factory, if it were let.

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
