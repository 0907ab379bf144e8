// SPDX-License-Identifier: MIT
#include "config/PConfigManager.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "config/PConfigFormat.h"
#include "config/PConfigLoader.h"
#include "config/PConfigRecords.h"
#include "core/PHeldService.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PTimedLockGuard.h"

int PConfigManager::locked(const PFunctionRef<int()>& iWork) noexcept
{
    return ixlaGuarded(
        [&]
        {
            const PLockGuard lock(fLock.fMutex);
            return lock.result() != 0 ? lock.result() : iWork();
        });
}

int PConfigManager::lockedForChange(const PFunctionRef<int()>& iWork) noexcept
{
    return locked(
        [&]
        {
            const PReaderLock::Writer writer(fLock.fReaders);
            return iWork();
        });
}

PConfigManager::PConfigManager() noexcept
    : fRefCount(0),
      fClosed(false),
      fFiles(*this, fValues, fLog),
      fStore(*this, fFiles, fLog, fLock.fReaders, fClosed)
{
    // A mutex that cannot be opened fails every lock, and so every operation, with its code.
    if (fLock.fMutex.init(true) == 0)
    {
        fLock.fReaders.init();
    }
}

PConfigManager::~PConfigManager()
{
    // There is no caller left that could handle an error.
    (void)fLock.fMutex.close();
}

void PConfigManager::cleanup() noexcept
{
    // Other threads may still read through their configurations, so the lock is needed. The two
    // configurations are released after it.
    PBaseptr<IConfig> managerConfig;
    PBaseptr<IConfig> store;
    // A failed lock changes nothing here: the cycle must be broken in any case.
    const PLockGuard lock(fLock.fMutex);
    nl_close(managerConfig, store);
}

int PConfigManager::tryCleanup(unsigned int iMilliseconds) noexcept
{
    PBaseptr<IConfig> managerConfig;
    PBaseptr<IConfig> store;
    const PTimedLockGuard lock(fLock.fMutex, iMilliseconds);
    if (lock.result() == PTimedLockGuard::eTimeout)
    {
        return lock.result();
    }
    nl_close(managerConfig, store);
    return eIxlaOk;
}

void PConfigManager::nl_close(PBaseptr<IConfig>& oManagerConfig, PBaseptr<IConfig>& oStore)
{
    fClosed = true;
    oManagerConfig = fFiles.nl_takeManagerConfig();
    oStore = fStore.nl_takeLoadedStore();
}

int PConfigManager::loadByFile(const PLiteral& iFile, PBaseptr<IConfig>& oConfig) noexcept
{
    PReadFault fault;
    return PConfigLoader::_loadFile(*this, this, iFile, oConfig, fault);
}

int PConfigManager::loadByArgs(const std::vector<PString>& iArgs,
                               PBaseptr<IConfig>& oConfig) noexcept
{
    if (iArgs.empty())
    {
        return eIxlaInvalidArgument;
    }
    return PConfigLoader::_load(this, PLiteral(), oConfig,
                                [&](const PBaseptr<IConfig>& ioConfig)
                                { return appendByArgs(iArgs, ioConfig); });
}

int PConfigManager::loadByArgs(const PString* iArgs, unsigned int iCount,
                               PBaseptr<IConfig>& oConfig) noexcept
{
    if (iCount == 0 || !iArgs)
    {
        return eIxlaInvalidArgument;
    }
    return PConfigLoader::_load(this, PLiteral(), oConfig,
                                [&](const PBaseptr<IConfig>& ioConfig)
                                { return appendByArgs(iArgs, iCount, ioConfig); });
}

int PConfigManager::appendByFile(const PLiteral& iFile, PBaseptr<IConfig> ioConfig) noexcept
{
    return PConfigLoader::_appendFile(iFile, ioConfig);
}

int PConfigManager::appendByArgs(const std::vector<PString>& iArgs,
                                 PBaseptr<IConfig> ioConfig) noexcept
{
    return PConfigLoader::_appendArgs(iArgs.data(), iArgs.size(), ioConfig);
}

int PConfigManager::appendByArgs(const PString* iArgs, unsigned int iCount,
                                 PBaseptr<IConfig> ioConfig) noexcept
{
    return PConfigLoader::_appendArgs(iArgs, iCount, ioConfig);
}

int PConfigManager::loadByID(const PLiteral& iID, PBaseptr<IConfig>& oConfig) noexcept
{
    return PConfigLoader::_load(this, iID, oConfig,
                                [&](const PBaseptr<IConfig>& ioConfig)
                                { return appendByID(iID, ioConfig); });
}

int PConfigManager::appendByID(const PLiteral& iID, PBaseptr<IConfig> ioConfig) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, PLiteral(), PLiteral());
    if (allowed != 0)
    {
        return allowed;
    }
    // Outlives the lock: a logger that is not needed in the end is released without it.
    PBaseptr<ILogger> logger;
    const int result = ixlaGuarded([&] { return fetchLogger(iID, logger); });
    return result != 0 ? result
                       : locked([&]() IXLA_REQUIRES(fLock.fMutex)
                                { return nl_appendByID(iID, ioConfig, logger); });
}

// Asking for the logging service may start it, and it loads the global ID while it starts. So the
// service is never asked for on behalf of that ID, nor with the lock held.
int PConfigManager::fetchLogger(const PLiteral& iID, PBaseptr<ILogger>& oLogger)
{
    if (iID == kIxlaGlobalConfigId)
    {
        return eIxlaOk;
    }
    bool needed = false;
    const int result = locked(
        [&]() IXLA_REQUIRES(fLock.fMutex)
        {
            needed = !fLog.nl_hasLogger();
            return eIxlaOk;
        });
    if (result == 0 && needed)
    {
        const PHeldService<ILogger> logger(kIxlaLoggerId);
        oLogger = logger.get();
    }
    return result;
}

int PConfigManager::nl_appendByID(const PLiteral& iID, const PBaseptr<IConfig>& ioConfig,
                                  const PBaseptr<ILogger>& iLogger)
{
    fLog.nl_setLogger(iLogger);
    int result = fFiles.nl_loadManagerConfig();
    if (result != 0)
    {
        return result;
    }
    PString files;
    result = fFiles.nl_readFileList(iID, files);
    if (result != 0)
    {
        return result == eIxlaNotFound ? eIxlaOk : result;
    }
    // After cleanup() the cycle through the manager's configuration is not broken any more, and the
    // configuration is not needed.
    if (fClosed)
    {
        (void)fFiles.nl_takeManagerConfig();
    }
    return fFiles.nl_appendFiles(files, ioConfig);
}

int PConfigManager::listIDs(std::vector<PString>& oIDs) noexcept
{
    oIDs.clear();
    const int result =
        locked([&]() IXLA_REQUIRES(fLock.fMutex) { return fStore.nl_listIDs(oIDs); });
    if (result != 0)
    {
        oIDs.clear();
    }
    return result;
}

// The announcement is prepared before the value is inserted, because nothing may fail afterwards.
int PConfigManager::setString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue)
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, PLiteral());
    if (allowed != 0)
    {
        return allowed;
    }
    PConfigListeners::Change change;
    const int result = lockedForChange(
        [&]() IXLA_REQUIRES(fLock.fMutex)
        {
            PConfigValues* values = nullptr;
            const int found = fValues.nl_findDynamicCfgValues(iID, true, values);
            if (found != 0)
            {
                return found;
            }
            fListeners.nl_prepareChange(IConfigChanged::eValueSet, iID, iKey, PLiteral(), change);
            PConfigRecords::_addNewValue(*values, iKey, iValue);
            return static_cast<int>(eIxlaOk);
        });
    if (result == 0)
    {
        PConfigListeners::_announce(change);
    }
    return result;
}

int PConfigManager::setShared(const PSharedValues& iValues, bool iPinned) noexcept
{
    return lockedForChange([&]() IXLA_REQUIRES(fLock.fMutex)
                           { return fValues.nl_setShared(iValues, iPinned); });
}

int PConfigManager::setAttrString(const PLiteral& iID, const PLiteral& iKey,
                                  const PLiteral& iAttribute, const PLiteral& iValue)
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, iAttribute);
    if (allowed != 0)
    {
        return allowed;
    }
    PConfigListeners::Change change;
    const int result = lockedForChange(
        [&]() IXLA_REQUIRES(fLock.fMutex)
        {
            PConfigValues* values = nullptr;
            const int found = fValues.nl_findDynamicCfgValues(iID, true, values);
            if (found != 0)
            {
                return found;
            }
            if (!values->find(iKey))
            {
                return static_cast<int>(eIxlaNoValueForAttribute);
            }
            fListeners.nl_prepareChange(IConfigChanged::eAttributeSet, iID, iKey, iAttribute,
                                        change);
            return PConfigRecords::_addAttrValue(*values, iKey, iAttribute, iValue);
        });
    if (result == 0)
    {
        PConfigListeners::_announce(change);
    }
    return result;
}

int PConfigManager::removeSetKey(const PLiteral& iID, const PLiteral& iKey) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, PLiteral());
    return allowed != 0 ? allowed
                        : lockedForChange([&]() IXLA_REQUIRES(fLock.fMutex)
                                          { return fValues.nl_removeSet(iID, iKey, nullptr); });
}

int PConfigManager::removeSetAttr(const PLiteral& iID, const PLiteral& iKey,
                                  const PLiteral& iAttribute) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, iAttribute);
    return allowed != 0 ? allowed
                        : lockedForChange([&]() IXLA_REQUIRES(fLock.fMutex)
                                          { return fValues.nl_removeSet(iID, iKey, &iAttribute); });
}

int PConfigManager::storeString(const PLiteral& iID, const PLiteral& iKey,
                                const PLiteral& iValue) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, PLiteral());
    return allowed != 0 ? allowed
                        : locked([&]() IXLA_REQUIRES(fLock.fMutex)
                                 { return fStore.nl_storeString(iID, iKey, iValue); });
}

int PConfigManager::removeStoredKey(const PLiteral& iID, const PLiteral& iKey) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, PLiteral());
    return allowed != 0 ? allowed
                        : locked([&]() IXLA_REQUIRES(fLock.fMutex)
                                 { return fStore.nl_removeStored(iID, iKey, nullptr); });
}

int PConfigManager::storeAttrString(const PLiteral& iID, const PLiteral& iKey,
                                    const PLiteral& iAttribute, const PLiteral& iValue) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, iAttribute);
    return allowed != 0
               ? allowed
               : locked([&]() IXLA_REQUIRES(fLock.fMutex)
                        { return fStore.nl_storeAttrString(iID, iKey, iAttribute, iValue); });
}

int PConfigManager::removeStoredAttr(const PLiteral& iID, const PLiteral& iKey,
                                     const PLiteral& iAttribute) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, iAttribute);
    return allowed != 0 ? allowed
                        : locked([&]() IXLA_REQUIRES(fLock.fMutex)
                                 { return fStore.nl_removeStored(iID, iKey, &iAttribute); });
}

int PConfigManager::addListener(const PLiteral& iID, const PLiteral& iTopic) noexcept
{
    return locked([&]() IXLA_REQUIRES(fLock.fMutex)
                  { return fListeners.nl_addListener(iID, iTopic); });
}

int PConfigManager::removeListener(const PLiteral& iID, const PLiteral& iTopic) noexcept
{
    return locked([&]() IXLA_REQUIRES(fLock.fMutex)
                  { return fListeners.nl_removeListener(iID, iTopic); });
}

int PConfigManager::findDynamicValue(const PLiteral& iID, const PLiteral& iKey,
                                     PConfigValue*& oValue) noexcept
{
    return locked([&]() IXLA_REQUIRES(fLock.fMutex)
                  { return fValues.nl_findDynamicValue(iID, iKey, oValue); });
}

int PConfigManager::findLoadedValue(const PLiteral& iID, const PLiteral& iKey,
                                    PConfigValue*& oValue) noexcept
{
    return locked([&]() IXLA_REQUIRES(fLock.fMutex)
                  { return fStore.nl_findLoadedValue(iID, iKey, oValue); });
}

// The caller has one of the two locks that exclude changes; the analysis knows only one of them. A
// table of run-time values is never removed.
void PConfigManager::findValues(const PLiteral& iID, unsigned int iIDHash, const PConfigKey& iKey,
                                std::atomic<PConfigValues*>& ioTable, PConfigValue*& oDynamic,
                                PConfigValue*& oStored) noexcept IXLA_NO_THREAD_SAFETY_ANALYSIS
{
    PConfigValues* table = ioTable.load(std::memory_order_acquire);
    if (!table)
    {
        table = fValues.findTable(iID);
        if (table)
        {
            ioTable.store(table, std::memory_order_release);
        }
    }
    oDynamic = table ? table->find(iKey) : nullptr;
    oStored = fStore.findKnown(iID, iIDHash, iKey);
}

// The caller holds the mutex through lock(), which the analysis does not see.
int PConfigManager::nl_needLoadedStore() noexcept
{
    return ixlaGuarded([&]() IXLA_NO_THREAD_SAFETY_ANALYSIS
                       { return fStore.nl_needLoadedStore(); });
}

int PConfigManager::getDynamicString(const PLiteral& iID, const PLiteral& iKey,
                                     PString& oValue) noexcept
{
    return locked([&]() IXLA_REQUIRES(fLock.fMutex)
                  { return fValues.nl_getDynamicString(iID, iKey, oValue); });
}

int PConfigManager::getLoadedString(const PLiteral& iID, const PLiteral& iKey,
                                    PString& oValue) noexcept
{
    return locked([&]() IXLA_REQUIRES(fLock.fMutex)
                  { return fStore.nl_getLoadedString(iID, iKey, oValue); });
}
