// SPDX-License-Identifier: MIT
#include "core/PCoreServices.h"

bool PCoreServices::readFreeLibraries() const
{
    bool freeLibraries = true;
    if (fConfig && fConfig->getBool(L"core.free.plugins.lib", freeLibraries) != 0)
    {
        return true;
    }
    return freeLibraries;
}

void PCoreServices::clear()
{
    fConfig.clear();
    fConfigManager.clear();
    fEventDispatcher.clear();
}
