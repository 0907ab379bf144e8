// SPDX-License-Identifier: MIT
// PSharedValues: values that the core sets for all plugins.
#ifndef IXLAL_PSHAREDVALUES_H
#define IXLAL_PSHAREDVALUES_H

#include "portinglayer/PString.h"

/// Up to seven keys with their texts, which are set together. Short texts are not on the heap.
class PSharedValues
{
public:
    struct Entry
    {
        PLiteral key; ///< belongs to the caller of add
        PShortString<15> text;
    };

    /// The text of the next entry, of which there must be one.
    PString& nextText() noexcept
    {
        return fEntries[fCount].text;
    }

    /// Adds the next entry, whose text is complete.
    void add(const PLiteral& iKey) noexcept
    {
        fEntries[fCount].key = iKey;
        ++fCount;
    }

    const Entry* begin() const noexcept
    {
        return fEntries;
    }

    const Entry* end() const noexcept
    {
        return fEntries + fCount;
    }

private:
    Entry fEntries[7];
    unsigned int fCount = 0;
};

#endif
