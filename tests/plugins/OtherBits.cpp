// SPDX-License-Identifier: MIT
// Compiled for the other word size: a plugin library that this process cannot load.

void* ixlaGetPlugin()
{
    return nullptr;
}
