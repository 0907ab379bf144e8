// SPDX-License-Identifier: MIT
// A plugin library that needs an undefined function and cannot be loaded.

#include "Ixla.h"

IPlugin* functionThatNobodyDefines();

IPlugin* ixlaGetPlugin()
{
    return functionThatNobodyDefines();
}
