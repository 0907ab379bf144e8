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
/// only withdraw changes the table; it leaves the entries in place, so lookups may run meanwhile.
class PInterfaceTable
{
public:
    /// The record behind an interface ID, or null. [any thread]
    [[gnu::flatten]] PCorePlugin* find(const PLiteral& iInterfaceId) const;

    /// Adds an interface; an ID that is in the table keeps its record. May throw std::bad_alloc.
    [[gnu::cold]] void add(const PString& iInterfaceId, PCorePlugin& iRecord);

    /// Empties the entry of an ID; false unless it holds this record.
    [[gnu::cold]] bool withdraw(const PLiteral& iInterfaceId, PCorePlugin& iRecord);

    [[gnu::cold]] void clear();

private:
    /// Null for an interface that was withdrawn.
    std::unordered_map<PString, std::atomic<PCorePlugin*>, PTextHash, PTextEqual> fInterfaces;
};

#endif
