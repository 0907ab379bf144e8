// SPDX-License-Identifier: MIT
// Calls the slots of all interfaces of the headers that it is compiled with, and reports those that
// reach the wrong operation.

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
