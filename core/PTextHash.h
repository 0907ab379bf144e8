// PTextHash, PTextEqual: for hash tables that are searched by any PLiteral without copying it.
#ifndef IXLAL_PTEXTHASH_H
#define IXLAL_PTEXTHASH_H

#include "portinglayer/PLiteral.h"

#include <cstddef>

struct PTextHash
{
    typedef void is_transparent;

    std::size_t operator()(const PLiteral& iText) const noexcept
    {
        // A step for each character: the general hash of the library takes one for each byte.
        std::size_t hash = iText.len();
        for (const wchar_t* text = iText.ptr(), *end = text + iText.len(); text != end; ++text)
        {
            hash = (hash ^ static_cast<std::size_t>(*text)) * 16777619u;
        }
        return hash;
    }
};

struct PTextEqual
{
    typedef void is_transparent;

    bool operator()(const PLiteral& iLeft, const PLiteral& iRight) const noexcept
    {
        return iLeft == iRight;
    }
};

#endif
