// SPDX-License-Identifier: MIT
// Walks the slots of all interfaces of whatever headers it is compiled with, and says which ones
// reach another operation than they should.

#include "headers/SlotWalk.h"

#include <iostream>

int main()
{
    int result = 0;
    for (const auto walk : {walkBase, walkPlugin, walkConfig, walkConfigManager, walkConfigChanged,
                            walkEventDispatcher, walkEventListener, walkLogger})
    {
        for (const std::string& problem : walk())
        {
            std::cout << problem << '\n';
            result = 1;
        }
    }
    return result;
}
