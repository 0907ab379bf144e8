// SPDX-License-Identifier: MIT
// PConfigValues: a table of records by key.
#ifndef IXLAL_PCONFIGVALUES_H
#define IXLAL_PCONFIGVALUES_H

#include "config/PConfigArena.h"
#include "config/PConfigKey.h"
#include "config/PConfigValue.h"

#include <memory>
#include <new>
#include <vector>

/// A key and its value, in a table.
struct PConfigRecord
{
    /// Copies both texts; needs memory for both and the zero between them behind the record.
    PConfigRecord(const PLiteral& iKey, const PLiteral& iValue) noexcept
        : key(iKey, reinterpret_cast<wchar_t*>(this + 1)),
          value(iValue, reinterpret_cast<wchar_t*>(this + 1) + iKey.len() + 1)
    {
    }

    /// The texts stay in place.
    PConfigRecord(const PSpan& iKey, const PSpan& iValue) noexcept : key(iKey), value(iValue)
    {
    }

    /// With memory for a text of iLen characters behind the record; none for ~0u.
    static void* operator new(std::size_t iSize, PConfigArena* ioArena, unsigned int iLen)
    {
        const std::size_t size = iSize + (iLen + 1) * sizeof(wchar_t);
        return ioArena ? ioArena->take(size) : ::operator new(size);
    }

    static void operator delete(void* iMemory, PConfigArena* ioArena, unsigned int) noexcept
    {
        operator delete(iMemory, ioArena);
    }

    static void operator delete(void* iMemory, const PConfigArena* iArena) noexcept
    {
        if (!iArena)
        {
            ::operator delete(iMemory);
        }
    }

    const PConfigName key;
    PConfigValue value;

private:
    friend class PConfigValues;

    PConfigRecord* fNext = nullptr;  ///< in the same bucket
    PConfigRecord* fLater = nullptr; ///< that was inserted after this one; only in an arena
    unsigned int fHash = 0;
};

/// A hash table. Records stay where they are until they are removed. In an arena the table knows in
/// which order they were inserted. Not synchronised.
class PConfigValues
{
public:
    /// Places the records in ioArena, which must outlive the table, or on the heap without one.
    explicit PConfigValues(PConfigArena* ioArena = nullptr) noexcept : fArena(ioArena)
    {
    }

    ~PConfigValues()
    {
        clear();
    }

    PConfigValues(const PConfigValues&) = delete;
    PConfigValues& operator=(const PConfigValues&) = delete;

    ///@{
    /// Find the value of a name, of a plain key, or of the store key of an ID and a key; iIDHash is
    /// the hash of the ID. Return null for none.
    PConfigValue* find(const PLiteral& iName) const noexcept
    {
        return find(iName, PConfigKey::_ofName(iName));
    }

    PConfigValue* find(const PConfigKey& iKey) const noexcept
    {
        return find(iKey.text, iKey.hash);
    }

    PConfigValue* findStored(const PLiteral& iID, unsigned int iIDHash,
                             const PConfigKey& iKey) const noexcept;
    ///@}

    /// The same for a name with its hash.
    PConfigValue* find(const PLiteral& iName, unsigned int iHash) const noexcept;

    ///@{
    /// Insert a record for a name that is not in the table, with copies of the texts or with the
    /// texts in place. Throw std::bad_alloc, with nothing changed.
    PConfigValue& insert(unsigned int iHash, const PLiteral& iName, const PLiteral& iValue)
    {
        grow();
        return link(*new (fArena, iName.len() + 1 + iValue.len()) PConfigRecord(iName, iValue),
                    iHash);
    }

    PConfigValue& insert(unsigned int iHash, const PSpan& iName, const PSpan& iValue)
    {
        grow();
        return link(*new (fArena, ~0u) PConfigRecord(iName, iValue), iHash);
    }
    ///@}

    /// Removes a record. Returns whether there was one.
    bool erase(const PLiteral& iName) noexcept;

    /// Removes all records.
    void clear() noexcept;

    unsigned int size() const noexcept
    {
        return fCount;
    }

    typedef std::vector<const PConfigRecord*> Records;

    /// The records of a table with an arena whose keys start with iPrefix, in the order of their
    /// keys. Throws std::bad_alloc.
    Records inOrder(const PLiteral& iPrefix = PLiteral()) const;

    /// Null for the heap.
    PConfigArena* arena() const noexcept
    {
        return fArena;
    }

private:
    PConfigRecord*& bucket(unsigned int iHash) const noexcept
    {
        return fBuckets.get()[iHash >> fShift];
    }

    /// Makes room for one more record.
    void grow()
    {
        if (fCount == fRoom)
        {
            rehash();
        }
    }

    void rehash();
    PConfigValue& link(PConfigRecord& ioRecord, unsigned int iHash) noexcept;
    void forget(const PConfigRecord& iRecord) noexcept;
    void destroy(PConfigRecord* iRecord) noexcept;

    PConfigArena* const fArena;
    PConfigRecord* fFirst = nullptr; ///< the earliest record in an arena
    PConfigRecord* fLast = nullptr;
    std::unique_ptr<PConfigRecord*[]> fBuckets; ///< fRoom of them, a power of 2; none at first
    unsigned int fRoom = 0;
    unsigned int fShift = 0; ///< a hash shifted by it is the number of a bucket
    unsigned int fCount = 0;
};

#endif
