// SPDX-License-Identifier: MIT
// PConfigText: a text of a configuration.
#ifndef IXLAL_PCONFIGTEXT_H
#define IXLAL_PCONFIGTEXT_H

#include "portinglayer/PBlank.h"
#include "portinglayer/PString.h"

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

    /// The text in iPart, in place; the character after it is replaced by the terminating zero.
    explicit PConfigText(const PSpan& iPart) noexcept
        : PString(iPart.len, const_cast<wchar_t*>(iPart.text), iPart.len)
    {
        const_cast<wchar_t*>(iPart.text)[iPart.len] = L'\0';
    }

    using PString::operator=;
};

#endif
