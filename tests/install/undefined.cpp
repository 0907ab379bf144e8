// SPDX-License-Identifier: MIT
// A plugin that wants a function which nobody supplies.

#include "Ixla.h"

IPlugin* nobody();

IPlugin* ixlaGetPlugin()
{
    return nobody();
}
