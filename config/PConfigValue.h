// SPDX-License-Identifier: MIT
// PConfigValue: the value of one key.
#ifndef IXLAL_PCONFIGVALUE_H
#define IXLAL_PCONFIGVALUE_H

#include "config/PConfigAttributes.h"
#include "config/PConfigText.h"

/// A value with its attributes.
struct PConfigValue
{
    /// A value without attributes; its text is copied to oMemory, as PConfigText does.
    PConfigValue(const PLiteral& iText, wchar_t* oMemory) noexcept : fValue(iText, oMemory)
    {
    }

    /// A value without attributes whose text stays in place.
    explicit PConfigValue(const PSpan& iText) noexcept : fValue(iText)
    {
    }

    PConfigText fValue; ///< also empty for a key that has only attributes
    PConfigAttributes fAttributes;
};

#endif
