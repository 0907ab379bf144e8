// SPDX-License-Identifier: MIT
#include "config/PConfigValue.h"

// The first and the last key tell what all of them share, and where the keys of sorted files go.
PConfigPlace::PConfigPlace(PConfigValues& ioValues, const PLiteral& iKey) noexcept
    : at(ioValues.end()), found(false)
{
    const PSearchText search(iKey);
    if (ioValues.empty() || search.follows(ioValues.rbegin()->first))
    {
        return;
    }
    at = search.follows(ioValues.begin()->first) ? ioValues.lower_bound(search) : ioValues.begin();
    found = search.equals(at->first);
}
