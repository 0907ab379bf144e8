// SPDX-License-Identifier: MIT
// PStoreText: whether the text of a store is whole.
#ifndef IXLAL_TOOLS_PSTORETEXT_H
#define IXLAL_TOOLS_PSTORETEXT_H

#include "shared/PConfigFile.h"

#include <set>
#include <string>

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

    /// Whether it has an entry for each entry of the other one, whatever the values.
    bool hasAllOf(const PStoreText& iOther) const;

private:
    /// The order is that of the core. A std::pair would compare the addresses of the texts.
    struct Name
    {
        PString key;
        PString attribute;

        bool operator<(const Name& iOther) const
        {
            return key < iOther.key || (key == iOther.key && attribute < iOther.attribute);
        }
    };

    std::set<Name> names() const;

    PConfigFile fFile;
    const bool fIsCut;
};

#endif
