// SPDX-License-Identifier: MIT
#include "config/PConfigRecords.h"

#include "PGuarded.h"

#include <tuple>
#include <utility>

namespace
{
/// Inserts a value. Throws std::bad_alloc.
PConfigValues::iterator _insert(PConfigValues& ioValues, PConfigValues::iterator iPlace,
                                const PLiteral& iKey, const PLiteral& iValue)
{
    return ioValues.emplace_hint(iPlace, std::piecewise_construct, std::forward_as_tuple(iKey),
                                 std::forward_as_tuple(iValue));
}

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
            if (place.found)
            {
                _addAttribute(place.at->second.fAttributes, iAttribute, iValue);
                return eIxlaOk;
            }
            decltype(PConfigValue::fAttributes) attributes;
            _addAttribute(attributes, iAttribute, iValue);
            _insert(ioValues, place.at, iKey, PLiteral())->second.fAttributes.swap(attributes);
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
