// SPDX-License-Identifier: MIT
// PConfigStore: the values that are kept across runs of the process.
#ifndef IXLAL_PCONFIGSTORE_H
#define IXLAL_PCONFIGSTORE_H

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "config/PConfigValues.h"
#include "config/PFunctionRef.h"
#include "portinglayer/PString.h"

#include <atomic>
#include <vector>

class PConfigFiles;
class PConfigLog;
class PReaderLock;
class PStoreWriter;

/// Reads and rewrites the store file. A change is made in a fresh copy of the file. Reads use a
/// snapshot that is taken at the first read; only removals change it. Not synchronised: the manager
/// guards it with its lock. The snapshot is changed with the reader lock closed, too, so that
/// readers of that lock may search it.
///
/// The snapshot holds the manager; nl_takeLoadedStore() breaks that cycle.
///
/// The operations return 0; -2002 before the first load by ID and after the manager was closed,
/// unless the path is known; -3003 without a store file; -501; or the code of a file. They throw
/// std::bad_alloc.
class PConfigStore
{
public:
    /// The store file is read by an operation of ioManager, which owns all five. While iClosed is
    /// set, a configuration that is read holds no reference to the manager.
    PConfigStore(IConfigManager& ioManager, PConfigFiles& ioFiles, PConfigLog& ioLog,
                 PReaderLock& ioReaders, const std::atomic<bool>& iClosed) noexcept;

    PConfigStore(const PConfigStore&) = delete;
    PConfigStore& operator=(const PConfigStore&) = delete;

    /// Writes a value; an existing one is replaced.
    int nl_storeString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue);

    /// Writes an attribute; an existing one stays. Returns -3002 when the key has no stored value.
    int nl_storeAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                           const PLiteral& iValue);

    /// Removes one attribute of a key, or the key when iAttribute is null, also from the snapshot.
    int nl_removeStored(const PLiteral& iID, const PLiteral& iKey, const PLiteral* iAttribute);

    /// Appends the IDs that have stored values, then the other IDs that have files.
    int nl_listIDs(std::vector<PString>& ioIDs);

    /// Takes the snapshot unless there is one.
    int nl_needLoadedStore();

    /// Whether the snapshot was taken, or there is no store. [reader lock]
    bool isKnown() const noexcept
    {
        return fSnapshot || fWithoutStore;
    }

    /// Finds the value of a key in the snapshot; iIDHash is the hash of the ID. Null for none, also
    /// without a snapshot. [reader lock]
    PConfigValue* findKnown(const PLiteral& iID, unsigned int iIDHash,
                            const PConfigKey& iKey) const noexcept
    {
        return fSnapshot ? fSnapshot->findStored(iID, iIDHash, iKey) : nullptr;
    }

    /// Finds the record of a key in the snapshot, which is taken if need be. Returns -504 for none.
    int nl_findLoadedValue(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oValue);

    /// Copies the text of such a record.
    int nl_getLoadedString(const PLiteral& iID, const PLiteral& iKey, PString& oValue);

    /// Empties the snapshot and returns it, to be released without the lock.
    PBaseptr<IConfig> nl_takeLoadedStore();

private:
    /// Changes a table, in which the key of the store is given. Returns 0 or a code.
    typedef PFunctionRef<int(PConfigValues& ioValues, const PLiteral& iStoreKey)> Edit;

    /// Makes a change in a fresh copy of the file and writes that copy.
    int nl_change(const PLiteral& iID, const PLiteral& iKey, const Edit& iEdit);
    int nl_parseStorePath();
    int nl_loadStore(PBaseptr<IConfig>& oStore);
    int nl_saveStore(PStoreWriter& ioWriter);

    IConfigManager& fManager;
    PConfigFiles& fFiles;
    PConfigLog& fLog;
    PReaderLock& fReaders;
    const std::atomic<bool>& fClosed;
    PBaseptr<IConfig> fLoadedStore;     ///< the store as first read, without removed values
    PConfigValues* fSnapshot = nullptr; ///< the values of fLoadedStore
    bool fWithoutStore = false;         ///< whether the manager's configuration names no store
    PString fStorePath;                 ///< empty until resolved
};

#endif
