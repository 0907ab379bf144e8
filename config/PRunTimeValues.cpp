// SPDX-License-Identifier: MIT
#include "config/PRunTimeValues.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "config/PConfigRecords.h"

int PRunTimeValues::nl_findDynamicCfgValues(const PLiteral& iID, bool iCreate,
                                            PConfigValues*& oValues)
{
    auto place = fDynamicValues.lower_bound(iID);
    if (place == fDynamicValues.end() || place->first != iID)
    {
        if (!iCreate)
        {
            return eIxlaNotFound;
        }
        place = fDynamicValues.try_emplace(place, iID);
    }
    oValues = &place->second;
    return eIxlaOk;
}

PConfigValues* PRunTimeValues::findTable(const PLiteral& iID) noexcept
{
    const auto place = fDynamicValues.find(iID);
    return place != fDynamicValues.end() ? &place->second : nullptr;
}

int PRunTimeValues::nl_findDynamicValue(const PLiteral& iID, const PLiteral& iKey,
                                        PConfigValue*& oValue)
{
    PConfigValues* values = nullptr;
    const int result = nl_findDynamicCfgValues(iID, false, values);
    if (result != 0)
    {
        return result;
    }
    PConfigValue* const value = values->find(iKey);
    if (!value)
    {
        return eIxlaNotFound;
    }
    oValue = value;
    return eIxlaOk;
}

int PRunTimeValues::nl_getDynamicString(const PLiteral& iID, const PLiteral& iKey, PString& oValue)
{
    PConfigValue* record = nullptr;
    const int result = nl_findDynamicValue(iID, iKey, record);
    if (result == 0)
    {
        oValue = record->fValue;
    }
    return result;
}

int PRunTimeValues::nl_removeSet(const PLiteral& iID, const PLiteral& iKey,
                                 const PLiteral* iAttribute)
{
    PConfigValues* values = nullptr;
    const int result = nl_findDynamicCfgValues(iID, false, values);
    if (result != 0)
    {
        return result == eIxlaNotFound ? eIxlaOk : result;
    }
    return PConfigRecords::_remove(*values, iKey, iAttribute);
}

int PRunTimeValues::nl_setShared(const PSharedValues& iValues, bool iPinned)
{
    PConfigValues* table = nullptr;
    int result = nl_findDynamicCfgValues(kIxlaGlobalConfigId, true, table);
    for (const PSharedValues::Entry& entry : iValues)
    {
        result = ixlaGuarded(
            [&]
            {
                PConfigValue& value = PConfigRecords::_addNewValue(*table, entry.key, entry.text);
                if (iPinned)
                {
                    value.fAttributes.add(L"const", L"true");
                }
                return eIxlaOk;
            });
    }
    return result;
}
