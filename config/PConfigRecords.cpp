// SPDX-License-Identifier: MIT
#include "config/PConfigRecords.h"

#include "PGuarded.h"

namespace
{
/// Inserts an attribute unless it is present. Throws std::bad_alloc.
template <class TAttributes>
void _addAttribute(TAttributes& ioAttributes, const PLiteral& iAttribute, const PLiteral& iValue)
{
    const auto place = ioAttributes.lower_bound(iAttribute);
    if (place == ioAttributes.end() || place->first != iAttribute)
    {
        ioAttributes.emplace_hint(place, iAttribute, iValue);
    }
}
} // namespace

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
                _addAttribute(value->fAttributes, iAttribute, iValue);
                return eIxlaOk;
            }
            decltype(PConfigValue::fAttributes) attributes;
            _addAttribute(attributes, iAttribute, iValue);
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

int PConfigRecords::_removeAttr(PConfigValues& ioValues, const PLiteral& iKey,
                                const PLiteral& iAttribute) noexcept
{
    if (PConfigValue* const value = ioValues.find(iKey))
    {
        const auto attribute = value->fAttributes.find(iAttribute);
        if (attribute != value->fAttributes.end())
        {
            value->fAttributes.erase(attribute);
        }
    }
    return eIxlaOk;
}

void PConfigRecords::_addNewValue(PConfigValues& ioValues, const PLiteral& iKey,
                                  const PLiteral& iValue)
{
    const unsigned int hash = PConfigKey::_ofName(iKey);
    if (!ioValues.find(iKey, hash))
    {
        ioValues.insert(hash, iKey, iValue);
    }
}
