// SPDX-License-Identifier: MIT
// PConfigText: a text of a configuration.
#ifndef IXLAL_PCONFIGTEXT_H
#define IXLAL_PCONFIGTEXT_H

#include "portinglayer/PBlank.h"
#include "portinglayer/PString.h"

#include <cwchar>

/// May use memory of its creator, which must outlive it. Other texts, and later ones that do not
/// fit there, are on the heap. Copies have their own memory.
class PConfigText : public PString
{
public:
    PConfigText() noexcept = default;

    // cppcheck-suppress noExplicitConstructor ; as its base does
    PConfigText(const PLiteral& iText) : PString(iText)
    {
    }

    /// The empty text, in memory for iCapacity characters and a zero.
    PConfigText(unsigned int iCapacity, wchar_t* iBuffer) noexcept : PString(iCapacity, iBuffer)
    {
    }

    /// A copy of iText in oMemory, which has room for it and a zero.
    PConfigText(const PLiteral& iText, wchar_t* oMemory) noexcept
        : PString(iText.len(), oMemory, iText.len())
    {
        std::wmemcpy(oMemory, iText.ptr(), iText.len());
        oMemory[iText.len()] = L'\0';
    }

    /// The text in iPart, in place; the character after it is replaced by the terminating zero.
    explicit PConfigText(const PSpan& iPart) noexcept
        : PString(iPart.len, const_cast<wchar_t*>(iPart.text), iPart.len)
    {
        const_cast<wchar_t*>(iPart.text)[iPart.len] = L'\0';
    }

    using PString::operator=;
};

/// A name in the memory of its record or of an arena.
class PConfigName : public PLiteral
{
public:
    /// Copies iText to oMemory, with a terminating zero.
    PConfigName(const PLiteral& iText, wchar_t* oMemory) noexcept
    {
        std::wmemcpy(oMemory, iText.ptr(), iText.len());
        oMemory[iText.len()] = L'\0';
        fPtr = oMemory;
        fLen = iText.len();
    }

    /// The text in iPart, in place; the character after it is replaced by the terminating zero.
    explicit PConfigName(const PSpan& iPart) noexcept
    {
        const_cast<wchar_t*>(iPart.text)[iPart.len] = L'\0';
        fPtr = iPart.text;
        fLen = iPart.len;
    }
};

#endif
