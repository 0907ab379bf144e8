// SPDX-License-Identifier: MIT
// PConfigValues: a table of records by key.
#ifndef IXLAL_PCONFIGVALUES_H
#define IXLAL_PCONFIGVALUES_H

#include "config/PConfigArena.h"
#include "config/PConfigKey.h"
#include "config/PConfigValue.h"

#include <cwchar>
#include <memory>
#include <new>
#include <vector>

/// A name in the memory of its record or of an arena.
class PConfigName : public PLiteral
{
public:
    /// Copies iText to oMemory, with a terminating zero.
    PConfigName(const PLiteral& iText, wchar_t* oMemory) noexcept
    {
        std::wmemcpy(oMemory, iText.ptr(), iText.len());
        oMemory[iText.len()] = L'\0';
        fPtr = oMemory;
        fLen = iText.len();
    }

    /// The text in iPart, in place; the character after it is replaced by the terminating zero.
    explicit PConfigName(const PSpan& iPart) noexcept
    {
        const_cast<wchar_t*>(iPart.text)[iPart.len] = L'\0';
        fPtr = iPart.text;
        fLen = iPart.len;
    }
};

/// A key and its value, in a table.
struct PConfigRecord
{
    /// Copies both texts; needs memory for a text of the length of iKey behind the record.
    PConfigRecord(const PLiteral& iKey, const PLiteral& iValue)
        : key(iKey, reinterpret_cast<wchar_t*>(this + 1)), value(iValue)
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
        return link(*new (fArena, iName.len()) PConfigRecord(iName, iValue), iHash);
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

    /// The records of a table with an arena in the order of their keys. Throws std::bad_alloc.
    Records inOrder() const;

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
