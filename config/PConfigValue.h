// SPDX-License-Identifier: MIT
// PConfigValue: the record of one key.
#ifndef IXLAL_PCONFIGVALUE_H
#define IXLAL_PCONFIGVALUE_H

#include "config/PConfigArena.h"
#include "config/PConfigText.h"
#include "config/PSearchText.h"

#include <map>
#include <utility>

/// A value with its attributes.
struct PConfigValue
{
    PConfigValue() = default;

    explicit PConfigValue(const PLiteral& iText) : fValue(iText)
    {
    }

    /// A value without attributes whose text stays where it is.
    explicit PConfigValue(const PSpan& iText) noexcept : fValue(iText)
    {
    }

    PConfigText fValue; ///< empty also for a key that was named only to carry attributes
    std::map<PString, PString, PLiteralLess> fAttributes;

    /// Whether the attribute "const" was ever seen to read as true; a cache that readers fill and
    /// nobody clears.
    bool fConst = false;
};

/// Records by key.
typedef std::map<PConfigText, PConfigValue, PSearchLess,
                 PConfigAllocator<std::pair<const PConfigText, PConfigValue>>>
    PConfigValues;

/// Where a key is, or where it would be inserted.
struct PConfigPlace
{
    PConfigPlace(PConfigValues& ioValues, const PLiteral& iKey) noexcept;

    PConfigValues::iterator at;
    bool found;
};

#endif
