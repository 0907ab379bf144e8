// SPDX-License-Identifier: MIT
// A plugin library that needs a function which nothing supplies, so it cannot be loaded.

#include "Ixla.h"

IPlugin* functionThatNobodyDefines();

IPlugin* ixlaGetPlugin()
{
    return functionThatNobodyDefines();
}
