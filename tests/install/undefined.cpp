// SPDX-License-Identifier: MIT
// A plugin that needs an undefined function.

#include "Ixla.h"

IPlugin* nobody();

IPlugin* ixlaGetPlugin()
{
    return nobody();
}
