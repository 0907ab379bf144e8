// SPDX-License-Identifier: MIT
// PLiteral: a read-only view of a zero-terminated wide text.
#ifndef IXLAL_PLITERAL_H
#define IXLAL_PLITERAL_H

#include "PExport.h"

static_assert(sizeof(wchar_t) == 4, "texts are made of 32-bit characters");

class PString;

/// A view of a wide text and the base class of PString, so that every function with a PLiteral
/// const& accepts a PString. The view borrows the text, which must outlive it. A null pointer
/// counts as the empty text.
///
/// No member throws. Any number of threads may read a text at once.
/// A PString must not be deleted, nor assigned to, through a PLiteral pointer or reference.
class IXLA_EXPORT PLiteral
{
public:
    /// The empty text.
    PLiteral() noexcept : fPtr(L""), fLen(0)
    {
    }

    /// A view of iText up to its terminating zero.
    // cppcheck-suppress noExplicitConstructor ; callers pass wide texts where a view is expected
    PLiteral(const wchar_t* iText) noexcept;

    /// Changes this view to another text.
    PLiteral& operator=(const wchar_t* iText) noexcept;

    ///@{
    /// Copies the view, not the text.
    PLiteral(const PLiteral&) noexcept = default;
    PLiteral& operator=(const PLiteral&) noexcept = default;
    ///@}

    ~PLiteral() = default;

    /// The length in characters; 0 for the empty text.
    unsigned int len() const noexcept
    {
        return fLen;
    }

    /// The characters, zero-terminated; never null.
    const wchar_t* ptr() const noexcept
    {
        return fPtr;
    }

    /// As ptr().
    operator const wchar_t*() const noexcept
    {
        return fPtr;
    }

    ///@{
    /// Compares by character code: 0 when equal, negative when this text comes first, otherwise
    /// positive. iLen is in characters; ~0u means up to the terminating zero.
    int cmp(const PLiteral& iOther) const noexcept;
    int cmp(const wchar_t* iText, unsigned int iLen) const noexcept;
    ///@}

    /// Whether this text comes first. Inline, because a call would cost more than the comparison of
    /// a short text.
    bool operator<(const PLiteral& iOther) const noexcept
    {
        const unsigned int same = sameFront(iOther);
        return same < fLen && same < iOther.fLen ? fPtr[same] < iOther.fPtr[same]
                                                 : fLen < iOther.fLen;
    }

    /// The number of equal characters at the start of both texts. The first iKnown are not
    /// compared: the caller knows that they are equal.
    unsigned int sameFront(const PLiteral& iOther, unsigned int iKnown = 0) const noexcept
    {
        const unsigned int common = fLen < iOther.fLen ? fLen : iOther.fLen;
        const wchar_t* const left = fPtr;
        const wchar_t* const right = iOther.fPtr;
        unsigned int same = iKnown;
        while (same < common && left[same] == right[same])
        {
            ++same;
        }
        return same;
    }

    ///@{
    /// Whether both texts have the same characters.
    bool operator==(const PLiteral& iOther) const noexcept;
    bool operator==(const wchar_t* iText) const noexcept
    {
        return *this == PLiteral(iText);
    }
    ///@}

    /// Whether the texts differ.
    bool operator!=(const PLiteral& iOther) const noexcept
    {
        return !(*this == iOther);
    }

    /// Whether the texts differ.
    bool operator!=(const wchar_t* iText) const noexcept
    {
        return !(*this == iText);
    }

    ///@{
    /// Whether the text ends or starts with iText; iLen as in cmp. iIgnoreCase folds A-Z only.
    bool endsWith(const wchar_t* iText, unsigned int iLen = ~0u,
                  bool iIgnoreCase = false) const noexcept;
    bool startsWith(const wchar_t* iText, unsigned int iLen = ~0u,
                    bool iIgnoreCase = false) const noexcept;
    ///@}

    ///@{
    /// Searches for a character or a text, from the start or from the end. Returns true with the
    /// index in oPos when found; otherwise oPos is unchanged. The empty text is never found.
    bool chr(wchar_t iChar, unsigned int& oPos, bool iFromEnd = false,
             bool iIgnoreCase = false) const noexcept;
    bool str(const PLiteral& iText, unsigned int& oPos, bool iFromEnd = false,
             bool iIgnoreCase = false) const noexcept;
    ///@}

    /// Moves the first token of ioList, up to iSeparator, to oToken, without the blanks around it;
    /// empty tokens are skipped. Returns 0, -61 when there was no token (ioList is then empty,
    /// oToken unchanged), or -12 for lack of memory (both unchanged).
    static int getNextToken(PString& ioList, PString& oToken, wchar_t iSeparator) noexcept;

protected:
    const wchar_t* fPtr; ///< never null
    unsigned int fLen;   ///< in characters
};

/// Orders texts for maps whose lookup takes any PLiteral without copying it.
struct PLiteralLess
{
    typedef void is_transparent; ///< lets std::map compare a PString with any PLiteral

    /// Whether iLeft comes first.
    bool operator()(const PLiteral& iLeft, const PLiteral& iRight) const noexcept
    {
        return iLeft < iRight;
    }
};

#endif
