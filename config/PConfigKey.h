// SPDX-License-Identifier: MIT
// PConfigKey: a key with its hash.
#ifndef IXLAL_PCONFIGKEY_H
#define IXLAL_PCONFIGKEY_H

#include "portinglayer/PLiteral.h"

/// Names in tables are plain keys, or store keys: an ID, "|" and a key. The hash of a store key
/// follows from those of its ID and of its key, so that a read computes one hash for all tables.
/// The last two bits are the number of separators, up to 2: a key with a separator, which must not
/// be read, never has the hash of another kind.
struct PConfigKey
{
    /// A key that is read. The text must outlive this object.
    explicit PConfigKey(const PLiteral& iText) noexcept
        : text(iText), hash(_hash(iText.ptr(), iText.len()))
    {
    }

    /// The hash of a store key.
    static unsigned int _ofStoreKey(unsigned int iID, unsigned int iKey) noexcept
    {
        return (((iID << 7 | iID >> 25) + iKey) & ~kSeparators) | 1;
    }

    /// The hash of any name.
    static unsigned int _ofName(const PLiteral& iName) noexcept;

    /// Whether iName is the store key of iID and this key.
    bool isStoreKey(const PLiteral& iName, const PLiteral& iID) const noexcept;

    const PLiteral& text;
    const unsigned int hash;

private:
    static constexpr unsigned int kSeparators = 3;

    // Two characters in a step; only the rotation depends on the previous step.
    static unsigned int _hash(const wchar_t* iText, unsigned int iLen) noexcept
    {
        unsigned int hash = iLen;
        for (; iLen > 1; iLen -= 2, iText += 2)
        {
            hash = (hash << 5 | hash >> 27) ^ (_code(iText[0]) + _code(iText[1]) * 65599u);
        }
        if (iLen > 0)
        {
            hash = (hash << 5 | hash >> 27) ^ _code(*iText);
        }
        return hash * 2654435761u & ~kSeparators;
    }

    static unsigned int _code(wchar_t iChar) noexcept
    {
        return static_cast<unsigned int>(iChar);
    }
};

#endif
