// SPDX-License-Identifier: MIT
// PSearchText: a text that is searched for in an ordered table.
#ifndef IXLAL_PSEARCHTEXT_H
#define IXLAL_PSEARCHTEXT_H

#include "portinglayer/PLiteral.h"

#include <algorithm>

/// For one search. On its way down the tree a search only meets texts between the last one that
/// came before the text and the last one that did not. The prefix that both of these share with the
/// text is also a prefix of the texts in between, so it is not compared again.
class PSearchText
{
public:
    explicit PSearchText(const PLiteral& iText) noexcept : fText(iText)
    {
    }

    /// Whether iText, which the search has met, comes before this text.
    bool follows(const PLiteral& iText) const noexcept
    {
        const unsigned int same = fText.sameFront(iText, std::min(fBefore, fBehind));
        const bool result = same < iText.len() && same < fText.len()
                                ? iText.ptr()[same] < fText.ptr()[same]
                                : iText.len() < fText.len();
        (result ? fBefore : fBehind) = same;
        return result;
    }

    /// Whether iText is this text. iText must be the last one met that did not come before it.
    bool equals(const PLiteral& iText) const noexcept
    {
        return fBehind == fText.len() && iText.len() == fText.len();
    }

private:
    const PLiteral& fText;
    // The length of the common prefix with the last text met before, and with the last one after.
    mutable unsigned int fBefore = 0;
    mutable unsigned int fBehind = 0;
};

/// Orders texts for tables that are searched with a PSearchText.
struct PSearchLess
{
    typedef void is_transparent;

    bool operator()(const PLiteral& iLeft, const PLiteral& iRight) const noexcept
    {
        return iLeft < iRight;
    }

    bool operator()(const PLiteral& iLeft, const PSearchText& iRight) const noexcept
    {
        return iRight.follows(iLeft);
    }
};

#endif
