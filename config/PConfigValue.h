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

    /// A value without attributes whose text stays in place.
    explicit PConfigValue(const PSpan& iText) noexcept : fValue(iText)
    {
    }

    PConfigText fValue; ///< also empty for a key that has only attributes
    std::map<PString, PString, PLiteralLess> fAttributes;

    /// Whether a reader has found the attribute "const" to be true. A cache that readers set and
    /// that is never cleared.
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
