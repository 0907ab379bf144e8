// SPDX-License-Identifier: MIT
// PConfigManager: loads configurations and keeps run-time values, stored values and listeners.
#ifndef IXLAL_PCONFIGMANAGER_H
#define IXLAL_PCONFIGMANAGER_H

#include "IConfigChanged.h"
#include "ILogger.h"
#include "PBaseptr.h"
#include "config/PConfigValue.h"
#include "config/PTypedConfigManager.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PMutex.h"
#include "portinglayer/PString.h"

#include <atomic>
#include <map>
#include <vector>

class PStoreWriter;
struct PReadFault;

/// The configuration manager (see IConfigManager). Lives on the heap and must be held in a
/// PBaseptr before its first use, because every configuration that it makes holds it.
///
/// One lock guards the tables and the files; its holder may take it again. It is held while files
/// are read and written and while lines are logged, and never while the core is asked for a
/// service or an event is sent. Operations that cannot lock return the mutex's code and do nothing.
///
/// The store and the manager's own configuration hold the manager like every configuration does;
/// cleanup() breaks that cycle.
class PConfigManager : public PTypedConfigManager
{
public:
    PConfigManager() noexcept;

    int incRef() noexcept override;
    int decRef() noexcept override;

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

    /// Marks the manager as shutting down and drops its two configurations, so that its last
    /// holder destroys it. Other threads may go on using the manager.
    void cleanup() noexcept;

    /// The same, when the lock is to be had within iMilliseconds: reading a file may take for ever.
    /// Returns 0, or PTimedLockGuard::eTimeout with nothing changed.
    [[gnu::cold]] int tryCleanup(unsigned int iMilliseconds) noexcept;

    /// Whether it is shutting down.
    bool isClosed() const noexcept;

    /// As loadByFile, for a configuration whose manager is iManager, which may be null; tells where
    /// reading ended early, be the result 0 or not.
    int loadFile(IConfigManager* iManager, const PLiteral& iFile, PBaseptr<IConfig>& oConfig,
                 PReadFault& oFault) noexcept;

    /// The manager's lock, for reads that use the records of the finders below: hold it from the
    /// lookup to the copy.
    PMutex& mutex() noexcept;

    /// Find the run-time or the stored record of a key; the first search for a stored one reads
    /// the store. The record is valid while the lock is held.
    /// Return 0, -504 for none, -501, the mutex's code, or the code of reading the store.
    int findDynamicValue(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oValue) noexcept;
    int findLoadedValue(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oValue) noexcept;

    /// Finds both of them at once. Returns 0, -501, or the mutex's code; records that aren't found
    /// stay as they were.
    int findValues(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oDynamic,
                   PConfigValue*& oStored) noexcept;

    /// Reads the store unless it was read before. Returns 0 or the code of reading.
    int needLoadedStore() noexcept;

    /// Copy the text of such a record.
    int getDynamicString(const PLiteral& iID, const PLiteral& iKey, PString& oValue) noexcept;
    int getLoadedString(const PLiteral& iID, const PLiteral& iKey, PString& oValue) noexcept;

private:
    /// What a setter announces once it has given the lock back; nothing without topics.
    struct Change
    {
        std::vector<PString> topics;
        PBaseptr<IConfigChanged> event;
    };

    /// What the manager holds that holds it in turn.
    struct Cycle
    {
        PBaseptr<IConfig> managerConfig;
        PBaseptr<IConfig> loadedStore;
    };

    [[gnu::cold]] void nl_close(Cycle& oCycle) IXLA_REQUIRES(fMutex);

    /// Runs a member that expects the lock. Returns its result, -501 for lack of memory, or the
    /// mutex's code.
    template <class... TParameter, class... TArgument>
    int locked(int (PConfigManager::*iWork)(TParameter...), TArgument&&... iArguments) noexcept;

    static void _announce(const Change& iChange);

    /// Writes an error line where an operator looks for it: into the plugins' log, and into the
    /// core's while the manager has no logger.
    template <class... TArgument>
    [[gnu::cold]] void nl_error(const wchar_t* iFormat, TArgument... iArguments) noexcept
        IXLA_REQUIRES(fMutex);

    int fetchLogger(const PLiteral& iID, PBaseptr<ILogger>& oLogger);
    int nl_needsLogger(bool& oNeeds) IXLA_REQUIRES(fMutex);

    int nl_appendByID(const PLiteral& iID, const PBaseptr<IConfig>& ioConfig,
                      const PBaseptr<ILogger>& iLogger) IXLA_REQUIRES(fMutex);
    int nl_readFileList(const PLiteral& iID, PString& oFiles) IXLA_REQUIRES(fMutex);
    int nl_appendFiles(PString& ioFiles, const PBaseptr<IConfig>& ioConfig) IXLA_REQUIRES(fMutex);
    int nl_appendFile(const PLiteral& iName, const PBaseptr<IConfig>& ioConfig)
        IXLA_REQUIRES(fMutex);
    int nl_listIDs(std::vector<PString>& oIDs) IXLA_REQUIRES(fMutex);
    void nl_createFilePath(const PLiteral& iName, PString& oPath) IXLA_REQUIRES(fMutex);
    int nl_loadManagerConfig() IXLA_REQUIRES(fMutex);
    int nl_parseStorePath() IXLA_REQUIRES(fMutex);

    int nl_setString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue,
                     Change& oChange) IXLA_REQUIRES(fMutex);
    int nl_setAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                         const PLiteral& iValue, Change& oChange) IXLA_REQUIRES(fMutex);
    int nl_removeSet(const PLiteral& iID, const PLiteral& iKey, const PLiteral* iAttribute)
        IXLA_REQUIRES(fMutex);
    void nl_prepareChange(IConfigChanged::EConfigChnagedType iType, const PLiteral& iID,
                          const PLiteral& iKey, const PLiteral& iAttribute, Change& oChange)
        IXLA_REQUIRES(fMutex);
    int nl_findDynamicCfgValues(const PLiteral& iID, bool iCreate, PConfigValues*& oValues)
        IXLA_REQUIRES(fMutex);
    int nl_findDynamicValue(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oValue)
        IXLA_REQUIRES(fMutex);
    int nl_getDynamicString(const PLiteral& iID, const PLiteral& iKey, PString& oValue)
        IXLA_REQUIRES(fMutex);

    int nl_storeString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue)
        IXLA_REQUIRES(fMutex);
    int nl_storeAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                           const PLiteral& iValue) IXLA_REQUIRES(fMutex);
    int nl_removeStored(const PLiteral& iID, const PLiteral& iKey, const PLiteral* iAttribute)
        IXLA_REQUIRES(fMutex);
    int nl_loadStore(PBaseptr<IConfig>& oStore) IXLA_REQUIRES(fMutex);
    int nl_saveStore(const PConfigValues& iStore, PStoreWriter& ioWriter) IXLA_REQUIRES(fMutex);
    int nl_needLoadedStore() IXLA_REQUIRES(fMutex);
    int nl_findValues(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oDynamic,
                      PConfigValue*& oStored) IXLA_REQUIRES(fMutex);
    int nl_findLoadedValue(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oValue)
        IXLA_REQUIRES(fMutex);
    int nl_getLoadedString(const PLiteral& iID, const PLiteral& iKey, PString& oValue)
        IXLA_REQUIRES(fMutex);

    int nl_addListener(const PLiteral& iID, const PLiteral& iTopic) IXLA_REQUIRES(fMutex);
    int nl_removeListener(const PLiteral& iID, const PLiteral& iTopic) IXLA_REQUIRES(fMutex);

    PCounterSync fRefCount;
    PMutex fMutex;
    /// Run-time values by configuration ID; a table stays when its last key has gone.
    std::map<PString, PConfigValues, PLiteralLess> fDynamicValues IXLA_GUARDED_BY(fMutex);
    PBaseptr<IConfig> fLoadedStore IXLA_GUARDED_BY(fMutex);   ///< as first read, less removals
    PBaseptr<IConfig> fManagerConfig IXLA_GUARDED_BY(fMutex); ///< the files of each ID
    PString fStorePath IXLA_GUARDED_BY(fMutex);               ///< empty until resolved
    std::atomic<bool> fClosed;                                ///< set with the lock held
    /// Topics in the order of registration; an ID is present only while it has one.
    std::map<PString, std::vector<PString>, PLiteralLess> fListeners IXLA_GUARDED_BY(fMutex);
    PBaseptr<ILogger> fLogger IXLA_GUARDED_BY(fMutex); ///< messages are dropped while empty
};

#endif
