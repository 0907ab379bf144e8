// SPDX-License-Identifier: MIT
#include "Ixla.h"

// Nobody supplies this function, so the loader refuses the library.
IPlugin* exampleFunctionThatNobodySupplies();

IPlugin* ixlaGetPlugin()
{
    return exampleFunctionThatNobodySupplies();
}
