// SPDX-License-Identifier: MIT
// PInterfaceTable: which plugin offers an interface.
#ifndef IXLAL_PINTERFACETABLE_H
#define IXLAL_PINTERFACETABLE_H

#include "portinglayer/PString.h"
#include "portinglayer/PTextHash.h"

#include <atomic>
#include <unordered_map>

class PCorePlugin;

/// Maps interface IDs to the records of their plugins, which it does not own. No lock protects the
/// table: entries are added before the core is started and removed by the clean-up. Between the two
/// withdraw empties single entries and leaves them in place, so lookups may run meanwhile.
class PInterfaceTable
{
public:
    /// The record behind an interface ID, or null. [any thread]
    PCorePlugin* find(const PLiteral& iInterfaceId)
    {
        const Entry* const found = locate(iInterfaceId);
        return found ? found->load() : nullptr;
    }

    /// Adds an interface; an ID that is in the table keeps its record. May throw std::bad_alloc.
    [[gnu::cold]] void add(const PString& iInterfaceId, PCorePlugin& iRecord);

    /// Empties the entry of an ID; false when there is none.
    [[gnu::cold]] bool withdraw(const PLiteral& iInterfaceId);

    /// Removes all entries of a record.
    [[gnu::cold]] void remove(const PCorePlugin& iRecord);

    [[gnu::cold]] void clear();

private:
    /// Null for an interface of a plugin that was unloaded.
    typedef std::atomic<PCorePlugin*> Entry;

    Entry* locate(const PLiteral& iInterfaceId);

    std::unordered_map<PString, Entry, PTextHash, PTextEqual> fInterfaces;
};

#endif
