// SPDX-License-Identifier: MIT
// PTextHash, PTextEqual: for hash tables of texts.
#ifndef IXLAL_PTEXTHASH_H
#define IXLAL_PTEXTHASH_H

#include "PLiteral.h"

#include <cstddef>
#include <cwchar>

/// For tables whose lookup takes any PLiteral without copying it. [any thread]
struct PTextHash
{
    typedef void is_transparent;

    std::size_t operator()(const PLiteral& iText) const noexcept
    {
        // Two characters in a step; only the rotation depends on the previous step. The last
        // character of an odd number is combined with the terminating zero.
        const wchar_t* const text = iText.ptr();
        std::size_t hash = iText.len();
        for (unsigned int i = 0; i < iText.len(); i += 2)
        {
            hash = (hash << 5 | hash >> (sizeof hash * 8 - 5)) ^
                   (_code(text[i]) + _code(text[i + 1]) * 65599u);
        }
        return hash * 2654435761u;
    }

private:
    static std::size_t _code(wchar_t iChar) noexcept
    {
        return static_cast<std::size_t>(iChar);
    }
};

struct PTextEqual
{
    typedef void is_transparent;

    bool operator()(const PLiteral& iLeft, const PLiteral& iRight) const noexcept
    {
        return iLeft.len() == iRight.len() &&
               std::wmemcmp(iLeft.ptr(), iRight.ptr(), iLeft.len()) == 0;
    }
};

#endif
