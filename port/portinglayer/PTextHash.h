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
        // The last character of an odd number is combined with the terminating zero.
        const wchar_t* text = iText.ptr();
        const wchar_t* const end = text + iText.len();
        std::size_t hash = iText.len();
        for (; end - text >= 4; text += 4)
        {
            hash = _step(_step(hash, text), text + 2);
        }
        for (; text < end; text += 2)
        {
            hash = _step(hash, text);
        }
        return hash * kSpread;
    }

private:
    /// Spreads the hash to the upper bits of a word of 64 or 32 bits.
    static constexpr std::size_t kSpread =
        static_cast<std::size_t>(sizeof(std::size_t) > 4 ? 0x9E3779B97F4A7C15ull : 2654435761ull);

    /// Two characters in a step; only the rotation depends on the previous step.
    static std::size_t _step(std::size_t iHash, const wchar_t* iText) noexcept
    {
        return (iHash << 5 | iHash >> (sizeof iHash * 8 - 5)) ^
               (_code(iText[0]) + _code(iText[1]) * 65599u);
    }

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
