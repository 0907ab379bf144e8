// SPDX-License-Identifier: MIT
// TextMap: the hash table of texts that floors and peers use.
#ifndef IXLAL_BENCHMARKS_TEXTMAP_H
#define IXLAL_BENCHMARKS_TEXTMAP_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

/// A text with its hash, for lookups of one text in several tables.
struct HashedText
{
    explicit HashedText(std::wstring_view iText);

    std::wstring_view text;
    std::size_t hash;
};

/// Hashes two characters in a step, in two independent sums. The operators are not noexcept on
/// purpose: the library then stores each entry's hash and compares texts only if the hashes are
/// equal.
struct TextHash
{
    typedef void is_transparent;

    std::size_t operator()(std::wstring_view iText) const
    {
        std::size_t even = iText.size();
        std::size_t odd = 0;
        std::size_t i = 0;
        for (; i + 1 < iText.size(); i += 2)
        {
            even = (even ^ static_cast<std::size_t>(iText.data()[i])) * 2654435769u;
            odd = (odd ^ static_cast<std::size_t>(iText.data()[i + 1])) * 2246822519u;
        }
        if (i < iText.size())
        {
            even = (even ^ static_cast<std::size_t>(iText.data()[i])) * 2654435769u;
        }
        return even ^ odd >> 15 ^ odd;
    }

    std::size_t operator()(const HashedText& iText) const
    {
        return iText.hash;
    }
};

struct TextEqual
{
    typedef void is_transparent;

    bool operator()(std::wstring_view iLeft, std::wstring_view iRight) const
    {
        return iLeft == iRight;
    }

    bool operator()(const HashedText& iLeft, std::wstring_view iRight) const
    {
        return iLeft.text == iRight;
    }

    bool operator()(std::wstring_view iLeft, const HashedText& iRight) const
    {
        return iLeft == iRight.text;
    }
};

inline HashedText::HashedText(std::wstring_view iText) : text(iText), hash(TextHash()(iText))
{
}

template <class T>
using TextMap = std::unordered_map<std::wstring, T, TextHash, TextEqual>;

#endif
