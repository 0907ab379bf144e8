// SPDX-License-Identifier: MIT
// A shared library that is not a plugin: it has a function with the factory's name but another
// signature.

#include "portinglayer/PExport.h"

IXLA_EXPORT int ixlaGetPlugin(int iValue);

int ixlaGetPlugin(int iValue)
{
    return iValue;
}
