// SPDX-License-Identifier: MIT
#include "core/PInterfaceTable.h"

#include <algorithm>

void PInterfaceTable::reserve(unsigned int iCount)
{
    // A fifth of the entries stays unused, so that searches are short.
    const unsigned int wanted = (fCount + iCount) / 4 * 5 + 5;
    if (wanted > fCapacity)
    {
        grow(std::max(wanted, fCapacity + fCapacity / 4));
    }
}

void PInterfaceTable::grow(unsigned int iCapacity)
{
    PInterfaceTable grown;
    grown.fEntries.reset(new Entry[iCapacity]);
    grown.fCapacity = iCapacity;
    for (unsigned int i = 0; i < fCapacity; ++i)
    {
        const Entry& entry = fEntries[i];
        if (entry.id)
        {
            Entry* copy = grown.firstOf(entry.hash);
            while (copy->id)
            {
                copy = grown.after(copy);
            }
            copy->record = entry.record.load();
            copy->id = entry.id;
            copy->hash = entry.hash;
        }
    }
    fEntries.swap(grown.fEntries);
    fCapacity = iCapacity;
}

void PInterfaceTable::add(const PLiteral& iInterfaceId, PCorePlugin& iRecord) noexcept
{
    Entry& entry = entryOf(iInterfaceId);
    if (!entry.id)
    {
        entry.id = &iInterfaceId;
        entry.hash = hashOf(iInterfaceId);
        ++fCount;
    }
    PCorePlugin* expected = nullptr;
    // An ID that is taken keeps its record.
    static_cast<void>(entry.record.compare_exchange_strong(expected, &iRecord));
}

bool PInterfaceTable::withdraw(const PLiteral& iInterfaceId, PCorePlugin& iRecord) noexcept
{
    PCorePlugin* expected = &iRecord;
    return fCapacity != 0 &&
           entryOf(iInterfaceId).record.compare_exchange_strong(expected, nullptr);
}

void PInterfaceTable::clear() noexcept
{
    fEntries.reset();
    fCapacity = 0;
    fCount = 0;
}
