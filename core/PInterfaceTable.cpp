// SPDX-License-Identifier: MIT
#include "core/PInterfaceTable.h"

PCorePlugin* PInterfaceTable::find(const PLiteral& iInterfaceId) const
{
    const auto found = fInterfaces.find(iInterfaceId);
    return found == fInterfaces.end() ? nullptr : found->second.load();
}

void PInterfaceTable::add(const PString& iInterfaceId, PCorePlugin& iRecord)
{
    fInterfaces.try_emplace(iInterfaceId, &iRecord);
}

bool PInterfaceTable::withdraw(const PLiteral& iInterfaceId, PCorePlugin& iRecord)
{
    const auto found = fInterfaces.find(iInterfaceId);
    PCorePlugin* expected = &iRecord;
    return found != fInterfaces.end() && found->second.compare_exchange_strong(expected, nullptr);
}

void PInterfaceTable::clear()
{
    fInterfaces.clear();
}
