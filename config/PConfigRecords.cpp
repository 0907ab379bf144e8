// SPDX-License-Identifier: MIT
#include "config/PConfigRecords.h"

#include "PGuarded.h"

int PConfigRecords::_addValue(PConfigValues& ioValues, const PLiteral& iKey,
                              const PLiteral& iValue) noexcept
{
    return ixlaGuarded(
        [&]
        {
            const unsigned int hash = PConfigKey::_ofName(iKey);
            if (PConfigValue* const value = ioValues.find(iKey, hash))
            {
                value->fValue = iValue;
            }
            else
            {
                ioValues.insert(hash, iKey, iValue);
            }
            return eIxlaOk;
        });
}

int PConfigRecords::_addAttrValue(PConfigValues& ioValues, const PLiteral& iKey,
                                  const PLiteral& iAttribute, const PLiteral& iValue) noexcept
{
    return ixlaGuarded(
        [&]
        {
            const unsigned int hash = PConfigKey::_ofName(iKey);
            if (PConfigValue* const value = ioValues.find(iKey, hash))
            {
                value->fAttributes.add(iAttribute, iValue);
                return eIxlaOk;
            }
            PConfigAttributes attributes;
            attributes.add(iAttribute, iValue);
            ioValues.insert(hash, iKey, PLiteral()).fAttributes.swap(attributes);
            return eIxlaOk;
        });
}

int PConfigRecords::_removeKey(PConfigValues& ioValues, const PLiteral& iKey) noexcept
{
    // A missing key counts as removed.
    (void)ioValues.erase(iKey);
    return eIxlaOk;
}

// cppcheck-suppress constParameter ; a value of the table is changed
int PConfigRecords::_removeAttr(PConfigValues& ioValues, const PLiteral& iKey,
                                const PLiteral& iAttribute) noexcept
{
    if (PConfigValue* const value = ioValues.find(iKey))
    {
        value->fAttributes.remove(iAttribute);
    }
    return eIxlaOk;
}

PConfigValue& PConfigRecords::_addNewValue(PConfigValues& ioValues, const PLiteral& iKey,
                                           const PLiteral& iValue)
{
    const unsigned int hash = PConfigKey::_ofName(iKey);
    PConfigValue* const value = ioValues.find(iKey, hash);
    return value ? *value : ioValues.insert(hash, iKey, iValue);
}
