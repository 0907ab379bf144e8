// SPDX-License-Identifier: MIT
// PConfigText: a text of a configuration.
#ifndef IXLAL_PCONFIGTEXT_H
#define IXLAL_PCONFIGTEXT_H

#include "portinglayer/PBlank.h"
#include "portinglayer/PString.h"

/// Works in memory that its maker provides for as long as it lives, and leaves it for the heap when
/// another text doesn't fit in. Copies have memory of their own.
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

    /// The text that stands in iPart; what stands behind it becomes its terminating zero.
    explicit PConfigText(const PSpan& iPart) noexcept
        : PString(iPart.len, const_cast<wchar_t*>(iPart.text), iPart.len)
    {
        const_cast<wchar_t*>(iPart.text)[iPart.len] = L'\0';
    }

    using PString::operator=;
};

#endif
