// SPDX-License-Identifier: MIT
// PLogNarrow: reads the characters of a narrow text.
#ifndef IXLAL_PLOGNARROW_H
#define IXLAL_PLOGNARROW_H

#include <cstddef>

/// The characters of a text in UTF-8 that ends at a zero. A byte that is not part of valid UTF-8 is
/// a character of its own, one of U+DC80 to U+DCFF. Reads no byte after the last character that it
/// is asked for, because a text with a known number of characters need not end at a zero. Belongs
/// to one thread at a time.
class PLogNarrow
{
public:
    /// iText is borrowed.
    explicit PLogNarrow(const char* iText) noexcept : fText(iText)
    {
    }

    /// Stores the next characters, up to iMost. Returns their number, 0 at the end of the text.
    std::size_t read(wchar_t* oText, std::size_t iMost) noexcept;

    /// The number of characters of iText, at most iMost.
    static std::size_t count(const char* iText, std::size_t iMost) noexcept;

private:
    wchar_t readForeign() noexcept;

    const char* fText;
};

#endif
