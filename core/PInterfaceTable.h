// SPDX-License-Identifier: MIT
// PInterfaceTable: which plugin offers an interface.
#ifndef IXLAL_PINTERFACETABLE_H
#define IXLAL_PINTERFACETABLE_H

#include "portinglayer/PTextHash.h"

#include <atomic>
#include <memory>

class PCorePlugin;

/// Maps interface IDs to the records of their plugins. It owns neither: the IDs must live until
/// clear. No lock protects the table: entries are added before the core is started and removed by
/// the clean-up. Between the two only withdraw changes the table; it leaves the entries in place,
/// so lookups may run meanwhile.
class PInterfaceTable
{
public:
    PInterfaceTable() noexcept : fCapacity(0), fCount(0)
    {
    }

    /// The record behind an interface ID, or null. [any thread]
    PCorePlugin* find(const PLiteral& iInterfaceId) const noexcept
    {
        return fCapacity == 0 ? nullptr : entryOf(iInterfaceId).record.load();
    }

    /// Makes room for iCount more interfaces. May throw std::bad_alloc; the table is unchanged
    /// then.
    [[gnu::cold]] void reserve(unsigned int iCount);

    /// Adds an interface, for which there is room; an ID that is in the table keeps its record
    /// unless that was withdrawn.
    [[gnu::cold]] void add(const PLiteral& iInterfaceId, PCorePlugin& iRecord) noexcept;

    /// Empties the entry of an ID; false unless it holds this record.
    [[gnu::cold]] bool withdraw(const PLiteral& iInterfaceId, PCorePlugin& iRecord) noexcept;

    [[gnu::cold]] void clear() noexcept;

private:
    /// Unused without an ID.
    struct Entry
    {
        /// Null for an interface that was withdrawn. Any order is enough: lookups begin after the
        /// registry is marked started, which publishes the records, and null refers to nothing.
        std::atomic<PCorePlugin*> record{nullptr};
        const PLiteral* id = nullptr;
        unsigned int hash = 0; ///< texts are compared only if the hashes are equal
    };

    static unsigned int hashOf(const PLiteral& iInterfaceId) noexcept
    {
        // The upper bits are the better ones.
        const std::size_t hash = PTextHash()(iInterfaceId);
        return static_cast<unsigned int>(hash >> (sizeof hash * 8 - 32));
    }

    /// Where the search for a hash begins. Entries follow in the order of the table, which has
    /// unused ones.
    Entry* firstOf(unsigned int iHash) const noexcept
    {
        const unsigned long long scaled = static_cast<unsigned long long>(iHash) * fCapacity;
        return fEntries.get() + static_cast<unsigned int>(scaled >> 32);
    }

    Entry* after(Entry* iEntry) const noexcept
    {
        return iEntry + 1 == fEntries.get() + fCapacity ? fEntries.get() : iEntry + 1;
    }

    /// The entry of an ID, or the unused one for it. The capacity is not 0.
    Entry& entryOf(const PLiteral& iInterfaceId) const noexcept
    {
        const unsigned int hash = hashOf(iInterfaceId);
        Entry* entry = firstOf(hash);
        while (entry->id && !(entry->hash == hash && PTextEqual()(*entry->id, iInterfaceId)))
        {
            entry = after(entry);
        }
        return *entry;
    }

    void grow(unsigned int iCapacity);

    std::unique_ptr<Entry[]> fEntries;
    unsigned int fCapacity;
    unsigned int fCount; ///< used entries, also those of withdrawn interfaces
};

#endif
