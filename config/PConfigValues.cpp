// SPDX-License-Identifier: MIT
#include "config/PConfigValues.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>

namespace
{
constexpr unsigned int kLeastRoom = 8;

/// For qsort.
int _compare(const void* iLeft, const void* iRight) noexcept
{
    const auto* const left = static_cast<const PConfigRecord* const*>(iLeft);
    const auto* const right = static_cast<const PConfigRecord* const*>(iRight);
    return (*left)->key < (*right)->key ? -1 : 1;
}

bool _isBefore(const PConfigRecord* iLeft, const PConfigRecord* iRight) noexcept
{
    return iLeft->key < iRight->key;
}
} // namespace

PConfigValue* PConfigValues::find(const PLiteral& iName, unsigned int iHash) const noexcept
{
    PConfigRecord* record = fCount > 0 ? bucket(iHash) : nullptr;
    while (record && (record->fHash != iHash || record->key.len() != iName.len() ||
                      std::wmemcmp(record->key.ptr(), iName.ptr(), iName.len()) != 0))
    {
        record = record->fNext;
    }
    return record ? &record->value : nullptr;
}

PConfigValue* PConfigValues::findStored(const PLiteral& iID, unsigned int iIDHash,
                                        const PConfigKey& iKey) const noexcept
{
    const unsigned int hash = PConfigKey::_ofStoreKey(iIDHash, iKey.hash);
    PConfigRecord* record = fCount > 0 ? bucket(hash) : nullptr;
    while (record && (record->fHash != hash || !iKey.isStoreKey(record->key, iID)))
    {
        record = record->fNext;
    }
    return record ? &record->value : nullptr;
}

bool PConfigValues::erase(const PLiteral& iName) noexcept
{
    const PConfigValue* const value = find(iName);
    if (!value)
    {
        return false;
    }
    PConfigRecord** place = &bucket(PConfigKey::_ofName(iName));
    while (&(*place)->value != value)
    {
        place = &(*place)->fNext;
    }
    PConfigRecord* const record = *place;
    *place = record->fNext;
    forget(*record);
    destroy(record);
    --fCount;
    return true;
}

void PConfigValues::clear() noexcept
{
    for (unsigned int i = 0; i < fRoom; ++i)
    {
        while (PConfigRecord* const record = fBuckets.get()[i])
        {
            fBuckets.get()[i] = record->fNext;
            destroy(record);
        }
    }
    fFirst = nullptr;
    fLast = nullptr;
    fCount = 0;
}

PConfigValues::Records PConfigValues::inOrder(const PLiteral& iPrefix) const
{
    Records records;
    records.reserve(iPrefix.len() == 0 ? fCount : 0);
    for (const PConfigRecord* record = fFirst; record; record = record->fLater)
    {
        if (record->key.sameFront(iPrefix) == iPrefix.len())
        {
            records.push_back(record);
        }
    }
    // The lines of a store, and those of many files, are in order already.
    if (!std::is_sorted(records.begin(), records.end(), &_isBefore))
    {
        std::qsort(records.data(), records.size(), sizeof(void*), &_compare);
    }
    return records;
}

void PConfigValues::rehash()
{
    const unsigned int room = fRoom > 0 ? fRoom * 2 : kLeastRoom;
    std::unique_ptr<PConfigRecord*[]> buckets(new PConfigRecord*[room]());
    const unsigned int shift = static_cast<unsigned int>(__builtin_clz(room)) + 1;
    for (unsigned int i = 0; i < fRoom; ++i)
    {
        while (PConfigRecord* const record = fBuckets.get()[i])
        {
            fBuckets.get()[i] = record->fNext;
            PConfigRecord*& place = buckets.get()[record->fHash >> shift];
            record->fNext = place;
            place = record;
        }
    }
    fBuckets.swap(buckets);
    fRoom = room;
    fShift = shift;
}

PConfigValue& PConfigValues::link(PConfigRecord& ioRecord, unsigned int iHash) noexcept
{
    ioRecord.fHash = iHash;
    ioRecord.fNext = bucket(iHash);
    bucket(iHash) = &ioRecord;
    ++fCount;
    if (fArena)
    {
        (fLast ? fLast->fLater : fFirst) = &ioRecord;
        fLast = &ioRecord;
    }
    return ioRecord.value;
}

// Records in an arena are removed from stores only, which are written again as a whole.
void PConfigValues::forget(const PConfigRecord& iRecord) noexcept
{
    if (!fArena)
    {
        return;
    }
    PConfigRecord* before = nullptr;
    for (PConfigRecord* record = fFirst; record != &iRecord; record = record->fLater)
    {
        before = record;
    }
    (before ? before->fLater : fFirst) = iRecord.fLater;
    fLast = fLast == &iRecord ? before : fLast;
}

void PConfigValues::destroy(PConfigRecord* iRecord) noexcept
{
    iRecord->~PConfigRecord();
    PConfigRecord::operator delete(iRecord, fArena);
}
