// SPDX-License-Identifier: MIT
#include "config/PRunTimeValues.h"

#include "Ixla.h"
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
        place = fDynamicValues.emplace_hint(place, iID, PConfigValues());
    }
    oValues = &place->second;
    return eIxlaOk;
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
    const PConfigPlace place(*values, iKey);
    if (!place.found)
    {
        return eIxlaNotFound;
    }
    oValue = &place.at->second;
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
