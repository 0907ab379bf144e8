// SPDX-License-Identifier: MIT
// PConfigManager: puts the parts of the configuration manager together.
#ifndef IXLAL_PCONFIGMANAGER_H
#define IXLAL_PCONFIGMANAGER_H

#include "ILogger.h"
#include "PBaseptr.h"
#include "config/PConfigFiles.h"
#include "config/PConfigListeners.h"
#include "config/PConfigLock.h"
#include "config/PConfigLog.h"
#include "config/PConfigStore.h"
#include "config/PFunctionRef.h"
#include "config/PRunTimeValues.h"
#include "config/PTypedConfigManager.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PString.h"

#include <atomic>
#include <vector>

struct PReadFault;

/// The configuration manager (see IConfigManager). Lives on the heap and must be held in a
/// PBaseptr before its first use, because every configuration that it creates holds a reference to
/// it.
///
/// One recursive lock guards all of its parts. It is held while the files of an ID and the store
/// are read and written and while lines are logged, and not while a file or arguments are loaded or
/// appended. It is never held while the core is asked for a service or an event is sent. Operations
/// that cannot lock return the mutex's code and do nothing.
///
/// The run-time values and the snapshot of the store are changed with that lock held and the reader
/// lock closed. So a configuration reads them as a reader, or with the lock held.
///
/// The store and the manager's own configuration hold references to the manager, as every
/// configuration does; cleanup() breaks that cycle.
class PConfigManager : public PTypedConfigManager
{
public:
    PConfigManager() noexcept;

    int incRef() noexcept override
    {
        return ++fRefCount;
    }

    int decRef() noexcept override
    {
        const int count = fRefCount.change(-1);
        if (count == 0)
        {
            delete this;
        }
        return count;
    }

    [[gnu::cold]] int listIDs(std::vector<PString>& oIDs) noexcept override;

    int loadByID(const PLiteral& iID, PBaseptr<IConfig>& oConfig) noexcept override;
    int loadByFile(const PLiteral& iFile, PBaseptr<IConfig>& oConfig) noexcept override;
    int loadByArgs(const std::vector<PString>& iArgs, PBaseptr<IConfig>& oConfig) noexcept override;
    int loadByArgs(const PString* iArgs, unsigned int iCount,
                   PBaseptr<IConfig>& oConfig) noexcept override;

    /// Beyond IConfigManager: a file of the ID that cannot be appended is logged and left out; only
    /// lack of memory ends the operation.
    int appendByID(const PLiteral& iID, PBaseptr<IConfig> ioConfig) noexcept override;
    int appendByFile(const PLiteral& iFile, PBaseptr<IConfig> ioConfig) noexcept override;
    int appendByArgs(const std::vector<PString>& iArgs,
                     PBaseptr<IConfig> ioConfig) noexcept override;
    int appendByArgs(const PString* iArgs, unsigned int iCount,
                     PBaseptr<IConfig> ioConfig) noexcept override;

    int setString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue) override;
    int removeSetKey(const PLiteral& iID, const PLiteral& iKey) noexcept override;

    int setAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      const PLiteral& iValue) override;
    int removeSetAttr(const PLiteral& iID, const PLiteral& iKey,
                      const PLiteral& iAttribute) noexcept override;

    int storeString(const PLiteral& iID, const PLiteral& iKey,
                    const PLiteral& iValue) noexcept override;
    int removeStoredKey(const PLiteral& iID, const PLiteral& iKey) noexcept override;

    int storeAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                        const PLiteral& iValue) noexcept override;
    int removeStoredAttr(const PLiteral& iID, const PLiteral& iKey,
                         const PLiteral& iAttribute) noexcept override;

    int addListener(const PLiteral& iID, const PLiteral& iTopic) noexcept override;
    int removeListener(const PLiteral& iID, const PLiteral& iTopic) noexcept override;

    virtual ~PConfigManager();

    /// Marks the manager as closed and releases its two configurations, so that releasing the last
    /// other reference destroys it. Other threads may continue to use the manager.
    void cleanup() noexcept;

    /// As cleanup(), but waits at most iMilliseconds for the lock, because reading a file may take
    /// forever. Returns 0, or PTimedLockGuard::eTimeout with nothing changed.
    [[gnu::cold]] int tryCleanup(unsigned int iMilliseconds) noexcept;

    /// Whether the manager was closed.
    bool isClosed() const noexcept
    {
        return fClosed;
    }

    /// Sets run-time values of the ID that all plugins share; existing ones stay. With iPinned they
    /// get the attribute "const". Announces nothing: the core sets them before a plugin can listen.
    /// Returns the result of the last value, 0 or -501, or the mutex's code.
    int setShared(const PSharedValues& iValues, bool iPinned) noexcept;

    /// The manager's locks. A caller of the find operations below holds the mutex, or is a reader
    /// where that is allowed, from the lookup until the text is copied.
    PConfigLock& lock() noexcept
    {
        return fLock;
    }

    ///@{
    /// Find the run-time or the stored record of a key. The first search for a stored record reads
    /// the store. The record is valid while the lock is held. Return 0, -504 for none, -501, the
    /// mutex's code, or the code of reading the store.
    int findDynamicValue(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oValue) noexcept;
    int findLoadedValue(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oValue) noexcept;
    ///@}

    /// Whether readers know the store. If not, nl_needLoadedStore() is called first.
    // The caller has one of the two locks that exclude changes; the analysis knows only one of
    // them.
    bool isStoreKnown() const noexcept IXLA_NO_THREAD_SAFETY_ANALYSIS
    {
        return fStore.isKnown();
    }

    /// Finds both values; null for none. iIDHash is the hash of the ID. ioTable remembers the
    /// run-time values of the ID and is null at first. The caller is a reader or holds the lock
    /// until it has copied the text.
    void findValues(const PLiteral& iID, unsigned int iIDHash, const PConfigKey& iKey,
                    std::atomic<PConfigValues*>& ioTable, PConfigValue*& oDynamic,
                    PConfigValue*& oStored) noexcept;

    /// Reads the store unless it was read before. The caller holds the lock. Returns 0, -501, or
    /// the code of reading.
    int nl_needLoadedStore() noexcept;

    ///@{
    /// Copy the text of the record that the find operation of the same kind finds.
    int getDynamicString(const PLiteral& iID, const PLiteral& iKey, PString& oValue) noexcept;
    int getLoadedString(const PLiteral& iID, const PLiteral& iKey, PString& oValue) noexcept;
    ///@}

private:
    /// Calls iWork with the lock held. Returns its result, -501 for lack of memory, or the mutex's
    /// code.
    int locked(const PFunctionRef<int()>& iWork) noexcept;

    /// The same with the reader lock closed.
    int lockedForChange(const PFunctionRef<int()>& iWork) noexcept;

    [[gnu::cold]] void nl_close(PBaseptr<IConfig>& oManagerConfig, PBaseptr<IConfig>& oStore)
        IXLA_REQUIRES(fLock.fMutex);

    int fetchLogger(const PLiteral& iID, PBaseptr<ILogger>& oLogger);
    int nl_appendByID(const PLiteral& iID, const PBaseptr<IConfig>& ioConfig,
                      const PBaseptr<ILogger>& iLogger) IXLA_REQUIRES(fLock.fMutex);

    PCounterSync fRefCount;
    PConfigLock fLock;
    std::atomic<bool> fClosed; ///< set with the lock held, which gives the order
    PRunTimeValues fValues IXLA_GUARDED_BY(fLock.fMutex);
    PConfigListeners fListeners IXLA_GUARDED_BY(fLock.fMutex);
    PConfigLog fLog IXLA_GUARDED_BY(fLock.fMutex);
    PConfigFiles fFiles IXLA_GUARDED_BY(fLock.fMutex);
    PConfigStore fStore IXLA_GUARDED_BY(fLock.fMutex);
};

#endif
