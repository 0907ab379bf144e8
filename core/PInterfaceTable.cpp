// SPDX-License-Identifier: MIT
#include "core/PInterfaceTable.h"

void PInterfaceTable::add(const PString& iInterfaceId, PCorePlugin& iRecord)
{
    fInterfaces.emplace(iInterfaceId, &iRecord);
}

bool PInterfaceTable::withdraw(const PLiteral& iInterfaceId)
{
    Entry* const found = locate(iInterfaceId);
    return found && found->exchange(nullptr);
}

void PInterfaceTable::remove(const PCorePlugin& iRecord)
{
    std::erase_if(fInterfaces, [&](const auto& entry) { return entry.second == &iRecord; });
}

void PInterfaceTable::clear()
{
    fInterfaces.clear();
}

PInterfaceTable::Entry* PInterfaceTable::locate(const PLiteral& iInterfaceId)
{
    const auto found = fInterfaces.find(iInterfaceId);
    return found == fInterfaces.end() ? nullptr : &found->second;
}
