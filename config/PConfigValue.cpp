// SPDX-License-Identifier: MIT
#include "config/PConfigValue.h"

// The first and the last key show the common prefix of all keys, and whether iKey comes after the
// last one, as in sorted files.
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
