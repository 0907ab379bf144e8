// SPDX-License-Identifier: MIT
// PConfigAttributes: the attributes of a key.
#ifndef IXLAL_PCONFIGATTRIBUTES_H
#define IXLAL_PCONFIGATTRIBUTES_H

#include "portinglayer/PString.h"

#include <map>
#include <memory>

/// Texts by name, in the order of the names. Most keys have none, so the table is made for the
/// first one. Not synchronised.
class PConfigAttributes
{
public:
    typedef std::map<PString, PString, PLiteralLess> Table;

    bool empty() const noexcept
    {
        return !fTable || fTable->empty();
    }

    /// Returns null for none.
    PString* find(const PLiteral& iName) const noexcept;

    /// Adds an attribute unless it is present. Throws std::bad_alloc, with no attribute added.
    void add(const PLiteral& iName, const PLiteral& iText);

    /// Removes an attribute if it is present.
    void remove(const PLiteral& iName) noexcept;

    void swap(PConfigAttributes& ioOther) noexcept
    {
        fTable.swap(ioOther.fTable);
    }

    const Table& all() const noexcept;

private:
    std::unique_ptr<Table> fTable;
};

#endif
