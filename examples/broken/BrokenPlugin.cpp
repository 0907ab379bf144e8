// SPDX-License-Identifier: MIT
#include "Ixla.h"

// No library defines this function, so the loader refuses this one.
IPlugin* exampleFunctionThatNobodySupplies();

IPlugin* ixlaGetPlugin()
{
    return exampleFunctionThatNobodySupplies();
}
