// SPDX-License-Identifier: MIT
// A shared library that is not a plugin: it has a function of the factory's name, but of another
// signature.

#include "portinglayer/PExport.h"

IXLA_EXPORT int ixlaGetPlugin(int iValue);

int ixlaGetPlugin(int iValue)
{
    return iValue;
}
