// SPDX-License-Identifier: MIT
// PStoreText: whether the text of a store is whole.
#ifndef IXLAL_TOOLS_PSTORETEXT_H
#define IXLAL_TOOLS_PSTORETEXT_H

#include "shared/PConfigFile.h"

#include <string>
#include <utility>

/// A process that is killed while it stores leaves the beginning of the new store, whose entries
/// are in ascending order.
class PStoreText
{
public:
    /// iBytes is the content of the file at iPath, which is read again for its lines.
    PStoreText(const std::string& iBytes, const std::string& iPath);

    /// The number of its entries, attributes included.
    std::size_t entries() const;

    /// Why the core may not use it as it was written; empty for a text without a visible fault.
    std::string fault() const;

    /// Whether the other one has entries after the last entry of this one.
    bool endsBefore(const PStoreText& iOther) const;

private:
    typedef std::pair<PString, PString> Name; ///< the key and the attribute

    Name lastName() const;

    PConfigFile fFile;
    const bool fIsCut;
};

#endif
