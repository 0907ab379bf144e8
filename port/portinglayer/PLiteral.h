// SPDX-License-Identifier: MIT
// PLiteral: a read-only view of a zero-terminated wide text.
#ifndef IXLAL_PLITERAL_H
#define IXLAL_PLITERAL_H

#include "PExport.h"

static_assert(sizeof(wchar_t) == 4, "texts are made of 32-bit characters");

class PString;

/// A view of a wide text; the base of PString, so every PString is accepted where a
/// PLiteral const& is asked for. The view copies nothing: the text must outlive it. The text is
/// never null; a null pointer counts as the empty text.
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
    // cppcheck-suppress noExplicitConstructor ; any wide text may stand where a view is asked for
    PLiteral(const wchar_t* iText) noexcept;

    /// Turns this view to another text.
    PLiteral& operator=(const wchar_t* iText) noexcept;

    ///@{
    /// Another view of the same text.
    PLiteral(const PLiteral&) noexcept = default;
    PLiteral& operator=(const PLiteral&) noexcept = default;
    ~PLiteral() = default;
    ///@}

    /// Length in characters; 0 is the test for emptiness.
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
    /// Compares by character code: 0 when equal, negative when this text comes first, else
    /// positive. iLen is in characters, all ones for up to the terminating zero.
    int cmp(const PLiteral& iOther) const noexcept;
    int cmp(const wchar_t* iText, unsigned int iLen) const noexcept;
    ///@}

    /// Whether this text comes first. Inline, because texts are too short for a call to pay.
    bool operator<(const PLiteral& iOther) const noexcept
    {
        const unsigned int same = sameFront(iOther);
        return same < fLen && same < iOther.fLen ? fPtr[same] < iOther.fPtr[same]
                                                 : fLen < iOther.fLen;
    }

    /// With how many characters both texts begin; iKnown of them are known to be the same.
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
    /// Whether the text ends or begins with iText; iLen as in cmp. iIgnoreCase folds A-Z only.
    bool endsWith(const wchar_t* iText, unsigned int iLen = ~0u,
                  bool iIgnoreCase = false) const noexcept;
    bool startsWith(const wchar_t* iText, unsigned int iLen = ~0u,
                    bool iIgnoreCase = false) const noexcept;
    ///@}

    ///@{
    /// Searches for a character or a text, from the front or from the end. True when found, with
    /// the place in oPos; otherwise oPos stays as it was. The empty text is found nowhere.
    bool chr(wchar_t iChar, unsigned int& oPos, bool iFromEnd = false,
             bool iIgnoreCase = false) const noexcept;
    bool str(const PLiteral& iText, unsigned int& oPos, bool iFromEnd = false,
             bool iIgnoreCase = false) const noexcept;
    ///@}

    /// Takes the next token before iSeparator off the front of ioList into oToken, without the
    /// blanks around it; empty tokens are skipped. Returns 0 while it took one, -61 when none was
    /// left (ioList is then empty, oToken unchanged), -12 for lack of memory (both unchanged).
    static int getNextToken(PString& ioList, PString& oToken, wchar_t iSeparator) noexcept;

protected:
    const wchar_t* fPtr; ///< never null
    unsigned int fLen;   ///< in characters
};

/// Orders texts for maps that are searched by any PLiteral without copying it first.
struct PLiteralLess
{
    typedef void is_transparent; ///< says that any two of them can be compared

    /// Whether iLeft comes first.
    bool operator()(const PLiteral& iLeft, const PLiteral& iRight) const noexcept
    {
        return iLeft < iRight;
    }
};

#endif
