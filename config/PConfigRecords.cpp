// SPDX-License-Identifier: MIT
#include "config/PConfigRecords.h"

#include "PGuarded.h"

#include <tuple>
#include <utility>

namespace
{
/// Inserts a value. Throws std::bad_alloc.
void _insert(PConfigValues& ioValues, PConfigValues::iterator iPlace, const PLiteral& iKey,
             const PLiteral& iValue)
{
    ioValues.emplace_hint(iPlace, std::piecewise_construct, std::forward_as_tuple(iKey),
                          std::forward_as_tuple(iValue));
}
} // namespace

int PConfigRecords::_addValue(PConfigValues& ioValues, const PLiteral& iKey,
                              const PLiteral& iValue) noexcept
{
    return ixlaGuarded(
        [&]
        {
            const PConfigPlace place(ioValues, iKey);
            if (place.found)
            {
                place.at->second.fValue = iValue;
            }
            else
            {
                _insert(ioValues, place.at, iKey, iValue);
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
            const PConfigPlace place(ioValues, iKey);
            if (!place.found)
            {
                PConfigValue record;
                record.fAttributes.emplace(iAttribute, iValue);
                ioValues.emplace_hint(place.at, iKey, std::move(record));
                return eIxlaOk;
            }
            auto& attributes = place.at->second.fAttributes;
            const auto attribute = attributes.lower_bound(iAttribute);
            if (attribute == attributes.end() || attribute->first != iAttribute)
            {
                attributes.emplace_hint(attribute, iAttribute, iValue);
            }
            return eIxlaOk;
        });
}

int PConfigRecords::_removeKey(PConfigValues& ioValues, const PLiteral& iKey) noexcept
{
    const PConfigPlace place(ioValues, iKey);
    if (place.found)
    {
        ioValues.erase(place.at);
    }
    return eIxlaOk;
}

int PConfigRecords::_removeAttr(PConfigValues& ioValues, const PLiteral& iKey,
                                const PLiteral& iAttribute) noexcept
{
    const PConfigPlace place(ioValues, iKey);
    if (!place.found)
    {
        return eIxlaOk;
    }
    auto& attributes = place.at->second.fAttributes;
    const auto attribute = attributes.find(iAttribute);
    if (attribute != attributes.end())
    {
        attributes.erase(attribute);
    }
    return eIxlaOk;
}

void PConfigRecords::_addNewValue(PConfigValues& ioValues, const PLiteral& iKey,
                                  const PLiteral& iValue)
{
    const PConfigPlace place(ioValues, iKey);
    if (!place.found)
    {
        _insert(ioValues, place.at, iKey, iValue);
    }
}
