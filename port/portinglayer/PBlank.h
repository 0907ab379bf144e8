// SPDX-License-Identifier: MIT
// PBlank: the white space that the porting layer trims.
#ifndef IXLAL_PBLANK_H
#define IXLAL_PBLANK_H

/// Part of a text: a pointer and a number of characters.
struct PSpan
{
    const wchar_t* text;
    unsigned int len;
};

struct PBlank
{
    /// Blank, tab, line feed, vertical tab, form feed or carriage return, in every locale.
    static bool is(wchar_t iChar) noexcept
    {
        return iChar == L' ' || (iChar >= L'\t' && iChar <= L'\r');
    }

    /// The part of a text without the blanks at both ends.
    static PSpan trimmed(const wchar_t* iText, unsigned int iLen) noexcept
    {
        while (iLen > 0 && is(iText[iLen - 1]))
        {
            --iLen;
        }
        while (iLen > 0 && is(*iText))
        {
            ++iText;
            --iLen;
        }
        return {iText, iLen};
    }
};

#endif
