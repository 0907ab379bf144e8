// SPDX-License-Identifier: MIT
#include "config/PConfigManager.h"

#include "IEventDispatcher.h"
#include "Ixla.h"
#include "PGuarded.h"
#include "config/PConfig.h"
#include "config/PConfigChanged.h"
#include "config/PConfigFormat.h"
#include "config/PConfigLoader.h"
#include "config/PConfigRecords.h"
#include "config/PConfigResult.h"
#include "config/PReadFault.h"
#include "config/PStoreWriter.h"
#include "core/PHeldService.h"
#include "core/PServiceLog.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PLockGuard.h"
#include "portinglayer/PTimedLockGuard.h"
#include "portinglayer/PUtils.h"

#include <algorithm>
#include <utility>

namespace
{
constexpr wchar_t kManagerFile[] = L"ixlap.configmanager.prs";
constexpr wchar_t kStoreFileKey[] = L"ixlap.configmanager.store.file";
constexpr wchar_t kConfigDirKey[] = L"core.plugins.config.dir";
constexpr wchar_t kCustomConfigPrefix[] = L"custom.config.";
constexpr wchar_t kStoreSeparator = L'|';

/// Keys and values up to this length are composed and converted without allocating.
constexpr unsigned int kShortText = 127;
typedef PShortString<kShortText> ShortText;

void _makeStoreKey(const PLiteral& iID, const PLiteral& iKey, PString& oStoreKey)
{
    oStoreKey = iID;
    oStoreKey += L"|";
    oStoreKey += iKey;
}

/// Whether a store has values of the configuration ID iID.
bool _storesID(const PConfigValues& iStore, const PLiteral& iID)
{
    unsigned int position = 0;
    if (iID.chr(kStoreSeparator, position))
    {
        return false;
    }
    ShortText prefix;
    _makeStoreKey(iID, PLiteral(), prefix);
    const PConfigValues::const_iterator first = iStore.lower_bound(prefix);
    return first != iStore.end() && first->first.startsWith(prefix.ptr(), prefix.len());
}

/// Appends the IDs of a store. The keys of one ID stand side by side.
void _appendStoredIDs(const PConfigValues& iStore, std::vector<PString>& ioIDs)
{
    for (const auto& [key, record] : iStore)
    {
        unsigned int length = 0;
        if (!key.chr(kStoreSeparator, length))
        {
            continue;
        }
        const bool known = !ioIDs.empty() && ioIDs.back().len() == length &&
                           key.startsWith(ioIDs.back().ptr(), length);
        if (!known)
        {
            ioIDs.emplace_back(key.ptr(), length);
        }
    }
}
} // namespace

// Building blocks

template <class... TParameter, class... TArgument>
int PConfigManager::locked(int (PConfigManager::*iWork)(TParameter...),
                           TArgument&&... iArguments) noexcept
{
    return ixlaGuarded(
        [&]
        {
            const PLockGuard lock(fMutex);
            return lock.result() != 0 ? lock.result()
                                      : (this->*iWork)(std::forward<TArgument>(iArguments)...);
        });
}

template <class... TArgument>
void PConfigManager::nl_error(const wchar_t* iFormat, TArgument... iArguments) noexcept
{
    if (fLogger)
    {
        fLogger->error(0, iFormat, iArguments...);
    }
    else
    {
        logServiceError(iFormat, iArguments...);
    }
}

// Life

PConfigManager::PConfigManager() noexcept : fRefCount(0), fClosed(false)
{
    // A mutex that could not be opened fails every lock, and so every operation, with its code.
    (void)fMutex.init(true);
}

PConfigManager::~PConfigManager()
{
    // Nobody is left to be told.
    (void)fMutex.close();
}

int PConfigManager::incRef() noexcept
{
    return ++fRefCount;
}

int PConfigManager::decRef() noexcept
{
    const int count = fRefCount.change(-1);
    if (count == 0)
    {
        delete this;
    }
    return count;
}

void PConfigManager::cleanup() noexcept
{
    // Other threads may still read through configurations that they keep. What goes is released
    // after the lock.
    Cycle cycle;
    // Without the lock there is nothing better to do than the same.
    const PLockGuard lock(fMutex);
    nl_close(cycle);
}

int PConfigManager::tryCleanup(unsigned int iMilliseconds) noexcept
{
    Cycle cycle;
    const PTimedLockGuard lock(fMutex, iMilliseconds);
    if (lock.result() == PTimedLockGuard::eTimeout)
    {
        return lock.result();
    }
    nl_close(cycle);
    return eIxlaOk;
}

void PConfigManager::nl_close(Cycle& oCycle)
{
    fClosed = true;
    oCycle.managerConfig = fManagerConfig;
    fManagerConfig.clear();
    oCycle.loadedStore = fLoadedStore;
    fLoadedStore.clear();
}

bool PConfigManager::isClosed() const noexcept
{
    return fClosed;
}

PMutex& PConfigManager::mutex() noexcept
{
    return fMutex;
}

// Files and arguments

int PConfigManager::loadByFile(const PLiteral& iFile, PBaseptr<IConfig>& oConfig) noexcept
{
    PReadFault fault;
    return loadFile(this, iFile, oConfig, fault);
}

int PConfigManager::loadFile(IConfigManager* iManager, const PLiteral& iFile,
                             PBaseptr<IConfig>& oConfig, PReadFault& oFault) noexcept
{
    return PConfigLoader::_loadFile(*this, iManager, iFile, oConfig, oFault);
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

// Configuration IDs

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
    // Outlives the lock, so that a logger fetched in vain is not released under it.
    PBaseptr<ILogger> logger;
    const int result = ixlaGuarded([&] { return fetchLogger(iID, logger); });
    return result != 0 ? result : locked(&PConfigManager::nl_appendByID, iID, ioConfig, logger);
}

// Asking for the logging service may start it, and it loads the global ID while it starts: it is
// never asked for on behalf of that ID, nor with the lock held.
int PConfigManager::fetchLogger(const PLiteral& iID, PBaseptr<ILogger>& oLogger)
{
    bool needed = false;
    if (iID == kIxlaGlobalConfigId)
    {
        return eIxlaOk;
    }
    const int result = locked(&PConfigManager::nl_needsLogger, needed);
    if (result == 0 && needed)
    {
        const PHeldService<ILogger> logger(kIxlaLoggerId);
        oLogger = logger.get();
    }
    return result;
}

int PConfigManager::nl_needsLogger(bool& oNeeds)
{
    oNeeds = !fLogger;
    return eIxlaOk;
}

int PConfigManager::nl_appendByID(const PLiteral& iID, const PBaseptr<IConfig>& ioConfig,
                                  const PBaseptr<ILogger>& iLogger)
{
    if (!fLogger)
    {
        fLogger = iLogger;
    }
    int result = nl_loadManagerConfig();
    if (result != 0)
    {
        return result;
    }
    PString files;
    result = nl_readFileList(iID, files);
    if (result != 0)
    {
        return result == eIxlaNotFound ? eIxlaOk : result;
    }
    // The list was all that is needed of the manager's configuration, and after cleanup() nothing
    // may hold it on.
    if (fClosed)
    {
        fManagerConfig.clear();
    }
    return nl_appendFiles(files, ioConfig);
}

int PConfigManager::nl_readFileList(const PLiteral& iID, PString& oFiles)
{
    const int result = fManagerConfig->getString(iID, oFiles);
    if (result != 0 && result != eIxlaNotFound)
    {
        nl_error(L"[%s] Failed to load config for iID(%ls) err: %d", "appendByID", iID.ptr(),
                 result);
    }
    if (fLogger && result == eIxlaNotFound)
    {
        fLogger->debug(0, L"[%s] No config for iID(%ls)", "appendByID", iID.ptr());
    }
    if (fLogger && result == 0)
    {
        fLogger->debug(0, L"[%s] Parse for iID: %ls files: %ls", "appendByID", iID.ptr(),
                       oFiles.ptr());
    }
    return result;
}

int PConfigManager::nl_appendFiles(PString& ioFiles, const PBaseptr<IConfig>& ioConfig)
{
    PString name;
    int taken = PLiteral::getNextToken(ioFiles, name, L',');
    for (; taken == 0; taken = PLiteral::getNextToken(ioFiles, name, L','))
    {
        if (nl_appendFile(name, ioConfig) == eIxlaNoMemory)
        {
            return eIxlaNoMemory;
        }
    }
    return configResult(taken) == eIxlaNoMemory ? eIxlaNoMemory : eIxlaOk;
}

int PConfigManager::nl_appendFile(const PLiteral& iName, const PBaseptr<IConfig>& ioConfig)
{
    if (fLogger)
    {
        fLogger->debug(0, L"[%s] Parse file: %ls", "appendByID", iName.ptr());
    }
    PString path;
    nl_createFilePath(iName, path);
    if (fLogger)
    {
        fLogger->debug(0, L"[%s] Append file path: %ls", "appendByID", path.ptr());
    }
    const int result = appendByFile(path, ioConfig);
    if (result != 0)
    {
        nl_error(L"[%s] Failed to append file path(%ls) err: %d", "appendByID", path.ptr(), result);
    }
    const PReadFault fault = PConfigLoader::_faultOf(ioConfig);
    if (fault.code != 0 && fault.line != 0)
    {
        nl_error(L"[%s] Stopped reading file path(%ls) line: %u err: %d", "appendByID", path.ptr(),
                 fault.line, fault.code);
    }
    return result;
}

int PConfigManager::listIDs(std::vector<PString>& oIDs) noexcept
{
    oIDs.clear();
    const int result = locked(&PConfigManager::nl_listIDs, oIDs);
    if (result != 0)
    {
        oIDs.clear();
    }
    return result;
}

int PConfigManager::nl_listIDs(std::vector<PString>& oIDs)
{
    PBaseptr<IConfig> store;
    int result = nl_loadStore(store);
    if (result != 0)
    {
        return result;
    }
    _appendStoredIDs(PConfigLoader::_valuesOf(store), oIDs);
    result = nl_loadManagerConfig();
    if (result != 0)
    {
        return result;
    }
    for (const auto& [id, files] : PConfigLoader::_valuesOf(fManagerConfig))
    {
        if (id != kStoreFileKey && !_storesID(PConfigLoader::_valuesOf(store), id))
        {
            oIDs.push_back(id);
        }
    }
    return eIxlaOk;
}

void PConfigManager::nl_createFilePath(const PLiteral& iName, PString& oPath)
{
    ShortText customKey;
    customKey = kCustomConfigPrefix;
    customKey += iName;
    PString candidate;
    if (nl_getDynamicString(kIxlaGlobalConfigId, customKey, candidate) != 0)
    {
        candidate = iName;
    }
    PUtils::fixFileSeparator(candidate);

    unsigned int slash = 0;
    PString path;
    if (!candidate.chr(L'/', slash) &&
        nl_getDynamicString(kIxlaGlobalConfigId, kConfigDirKey, path) == 0 && !path.endsWith(L"/"))
    {
        path += L"/";
    }
    path += candidate;
    oPath = std::move(path);
}

int PConfigManager::nl_loadManagerConfig()
{
    if (fManagerConfig)
    {
        return eIxlaOk;
    }
    PString path;
    nl_createFilePath(kManagerFile, path);
    PReadFault fault;
    const int result = loadFile(this, path, fManagerConfig, fault);
    if (result != 0 && fLogger)
    {
        fLogger->error(0, L"[%s] Failed to load config manager file(%ls) err: %d",
                       "nl_loadManagerConfig", path.ptr(), result);
    }
    if (fault.code != 0)
    {
        // As a rule this is why there is no plugin log.
        logServiceError(L"[%s] Failed to load config manager file(%ls) line: %u err: %d",
                        "nl_loadManagerConfig", path.ptr(), fault.line, fault.code);
    }
    return result;
}

int PConfigManager::nl_parseStorePath()
{
    if (fStorePath.len() != 0)
    {
        return eIxlaOk;
    }
    if (fClosed || !fManagerConfig)
    {
        return eIxlaNoInstance;
    }
    ShortText name;
    const int result = fManagerConfig->getString(kStoreFileKey, name);
    if (result == eIxlaNoMemory)
    {
        return result;
    }
    if (result != 0 || name.len() == 0)
    {
        return eIxlaNoStoreFile;
    }
    nl_createFilePath(name, fStorePath);
    return eIxlaOk;
}

// Run-time values

int PConfigManager::setString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue)
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, PLiteral());
    if (allowed != 0)
    {
        return allowed;
    }
    Change change;
    const int result = locked(&PConfigManager::nl_setString, iID, iKey, iValue, change);
    if (result == 0)
    {
        _announce(change);
    }
    return result;
}

int PConfigManager::setAttrString(const PLiteral& iID, const PLiteral& iKey,
                                  const PLiteral& iAttribute, const PLiteral& iValue)
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, iAttribute);
    if (allowed != 0)
    {
        return allowed;
    }
    Change change;
    const int result =
        locked(&PConfigManager::nl_setAttrString, iID, iKey, iAttribute, iValue, change);
    if (result == 0)
    {
        _announce(change);
    }
    return result;
}

int PConfigManager::removeSetKey(const PLiteral& iID, const PLiteral& iKey) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, PLiteral());
    return allowed != 0 ? allowed : locked(&PConfigManager::nl_removeSet, iID, iKey, nullptr);
}

int PConfigManager::removeSetAttr(const PLiteral& iID, const PLiteral& iKey,
                                  const PLiteral& iAttribute) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, iAttribute);
    return allowed != 0 ? allowed : locked(&PConfigManager::nl_removeSet, iID, iKey, &iAttribute);
}

// The announcement is prepared before the value is inserted: afterwards nothing can fail any more.
int PConfigManager::nl_setString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue,
                                 Change& oChange)
{
    PConfigValues* values = nullptr;
    const int result = nl_findDynamicCfgValues(iID, true, values);
    if (result != 0)
    {
        return result;
    }
    nl_prepareChange(IConfigChanged::eValueSet, iID, iKey, PLiteral(), oChange);
    PConfigRecords::_addNewValue(*values, iKey, iValue);
    return eIxlaOk;
}

int PConfigManager::nl_setAttrString(const PLiteral& iID, const PLiteral& iKey,
                                     const PLiteral& iAttribute, const PLiteral& iValue,
                                     Change& oChange)
{
    PConfigValues* values = nullptr;
    const int result = nl_findDynamicCfgValues(iID, true, values);
    if (result != 0)
    {
        return result;
    }
    if (!PConfigPlace(*values, iKey).found)
    {
        return eIxlaNoValueForAttribute;
    }
    nl_prepareChange(IConfigChanged::eAttributeSet, iID, iKey, iAttribute, oChange);
    return PConfigRecords::_addAttrValue(*values, iKey, iAttribute, iValue);
}

int PConfigManager::nl_removeSet(const PLiteral& iID, const PLiteral& iKey,
                                 const PLiteral* iAttribute)
{
    PConfigValues* values = nullptr;
    const int result = nl_findDynamicCfgValues(iID, false, values);
    if (result != 0)
    {
        return result == eIxlaNotFound ? eIxlaOk : result;
    }
    return PConfigRecords::_remove(*values, iKey, iAttribute);
}

void PConfigManager::nl_prepareChange(IConfigChanged::EConfigChnagedType iType, const PLiteral& iID,
                                      const PLiteral& iKey, const PLiteral& iAttribute,
                                      Change& oChange)
{
    const auto listener = fListeners.find(iID);
    if (listener != fListeners.end())
    {
        oChange.topics = listener->second;
        oChange.event =
            PBaseptr<IConfigChanged>::adopt(new PConfigChanged(iType, iID, iKey, iAttribute));
    }
}

// Needs no memory: what was set is to be announced in any case.
void PConfigManager::_announce(const Change& iChange)
{
    if (iChange.topics.empty())
    {
        return;
    }
    const PHeldService<IEventDispatcher> dispatcher(kIxlaEventDispatcherId);
    if (dispatcher.result() != eIxlaOk)
    {
        return;
    }
    for (const PString& topic : iChange.topics)
    {
        // A topic that nobody listens to, or that cannot be sent, doesn't keep the others back.
        (void)dispatcher.get()->send(topic, iChange.event.get(), 0);
    }
}

int PConfigManager::nl_findDynamicCfgValues(const PLiteral& iID, bool iCreate,
                                            PConfigValues*& oValues)
{
    auto place = fDynamicValues.lower_bound(iID);
    if (place == fDynamicValues.end() || place->first != iID)
    {
        if (!iCreate)
        {
            return eIxlaNotFound;
        }
        place = fDynamicValues.emplace_hint(place, iID, PConfigValues());
    }
    oValues = &place->second;
    return eIxlaOk;
}

int PConfigManager::nl_findDynamicValue(const PLiteral& iID, const PLiteral& iKey,
                                        PConfigValue*& oValue)
{
    PConfigValues* values = nullptr;
    const int result = nl_findDynamicCfgValues(iID, false, values);
    if (result != 0)
    {
        return result;
    }
    const PConfigPlace place(*values, iKey);
    if (!place.found)
    {
        return eIxlaNotFound;
    }
    oValue = &place.at->second;
    return eIxlaOk;
}

int PConfigManager::nl_getDynamicString(const PLiteral& iID, const PLiteral& iKey, PString& oValue)
{
    PConfigValue* record = nullptr;
    const int result = nl_findDynamicValue(iID, iKey, record);
    if (result == 0)
    {
        oValue = record->fValue;
    }
    return result;
}

int PConfigManager::findDynamicValue(const PLiteral& iID, const PLiteral& iKey,
                                     PConfigValue*& oValue) noexcept
{
    return locked(&PConfigManager::nl_findDynamicValue, iID, iKey, oValue);
}

int PConfigManager::getDynamicString(const PLiteral& iID, const PLiteral& iKey,
                                     PString& oValue) noexcept
{
    return locked(&PConfigManager::nl_getDynamicString, iID, iKey, oValue);
}

// The store

int PConfigManager::storeString(const PLiteral& iID, const PLiteral& iKey,
                                const PLiteral& iValue) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, PLiteral());
    return allowed != 0 ? allowed : locked(&PConfigManager::nl_storeString, iID, iKey, iValue);
}

int PConfigManager::storeAttrString(const PLiteral& iID, const PLiteral& iKey,
                                    const PLiteral& iAttribute, const PLiteral& iValue) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, iAttribute);
    return allowed != 0
               ? allowed
               : locked(&PConfigManager::nl_storeAttrString, iID, iKey, iAttribute, iValue);
}

int PConfigManager::removeStoredKey(const PLiteral& iID, const PLiteral& iKey) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, PLiteral());
    return allowed != 0 ? allowed : locked(&PConfigManager::nl_removeStored, iID, iKey, nullptr);
}

int PConfigManager::removeStoredAttr(const PLiteral& iID, const PLiteral& iKey,
                                     const PLiteral& iAttribute) noexcept
{
    const int allowed = PConfigFormat::_checkAllowedChars(iID, iKey, iAttribute);
    return allowed != 0 ? allowed
                        : locked(&PConfigManager::nl_removeStored, iID, iKey, &iAttribute);
}

int PConfigManager::nl_storeString(const PLiteral& iID, const PLiteral& iKey,
                                   const PLiteral& iValue)
{
    PBaseptr<IConfig> store;
    int result = nl_loadStore(store);
    if (result != 0)
    {
        return result;
    }
    ShortText storeKey;
    _makeStoreKey(iID, iKey, storeKey);
    result = PConfigRecords::_addValue(PConfigLoader::_valuesOf(store), storeKey, iValue);
    PStoreWriter writer;
    if (result == 0)
    {
        result = writer.prepare(PConfigLoader::_valuesOf(store));
    }
    return result != 0 ? result : nl_saveStore(PConfigLoader::_valuesOf(store), writer);
}

int PConfigManager::nl_storeAttrString(const PLiteral& iID, const PLiteral& iKey,
                                       const PLiteral& iAttribute, const PLiteral& iValue)
{
    PBaseptr<IConfig> store;
    int result = nl_loadStore(store);
    if (result != 0)
    {
        return result;
    }
    ShortText storeKey;
    _makeStoreKey(iID, iKey, storeKey);
    PConfigValues& values = PConfigLoader::_valuesOf(store);
    if (!PConfigPlace(values, storeKey).found)
    {
        return eIxlaNoValueForAttribute;
    }
    result = PConfigRecords::_addAttrValue(values, storeKey, iAttribute, iValue);
    PStoreWriter writer;
    if (result == 0)
    {
        result = writer.prepare(values);
    }
    return result != 0 ? result : nl_saveStore(values, writer);
}

int PConfigManager::nl_removeStored(const PLiteral& iID, const PLiteral& iKey,
                                    const PLiteral* iAttribute)
{
    PBaseptr<IConfig> store;
    int result = nl_loadStore(store);
    if (result != 0)
    {
        return result;
    }
    ShortText storeKey;
    _makeStoreKey(iID, iKey, storeKey);
    PStoreWriter writer;
    result = writer.prepare(PConfigLoader::_valuesOf(store));
    if (result != 0)
    {
        return result;
    }
    // Removing cannot fail.
    (void)PConfigRecords::_remove(PConfigLoader::_valuesOf(store), storeKey, iAttribute);
    if (fLoadedStore)
    {
        (void)PConfigRecords::_remove(PConfigLoader::_valuesOf(fLoadedStore), storeKey, iAttribute);
    }
    return nl_saveStore(PConfigLoader::_valuesOf(store), writer);
}

int PConfigManager::nl_loadStore(PBaseptr<IConfig>& oStore)
{
    const int result = nl_parseStorePath();
    if (result != 0)
    {
        return result;
    }
    if (!PFile::exists(fStorePath))
    {
        // Loading tells why a file that could not be made is not there.
        PFile file;
        (void)file.popen(fStorePath, PFile::eWrite | PFile::eCreate, 0);
        (void)file.pclose();
    }
    // After cleanup() nobody breaks the circle that a kept snapshot and its manager would form.
    IConfigManager* const manager = fClosed ? nullptr : this;
    PReadFault fault;
    const int loaded = loadFile(manager, fStorePath, oStore, fault);
    if (fault.code != 0)
    {
        nl_error(L"[%s] Failed to load store file: (%ls) line: %u err: %d", "nl_loadStore",
                 fStorePath.ptr(), fault.line, fault.code);
    }
    return loaded;
}

int PConfigManager::nl_saveStore(const PConfigValues& iStore, PStoreWriter& ioWriter)
{
    int result = configResult(PFile::pdelete(fStorePath));
    if (result != 0)
    {
        nl_error(L"[%s] Failed to delete old store file: (%ls) err: %d", "nl_saveStore",
                 fStorePath.ptr(), result);
        return result;
    }
    result = configResult(ioWriter.create(fStorePath));
    if (result != 0)
    {
        nl_error(L"[%s] Failed to create store file: (%ls) err: %d", "nl_saveStore",
                 fStorePath.ptr(), result);
        return result;
    }
    return configResult(ioWriter.write(iStore));
}

int PConfigManager::nl_needLoadedStore()
{
    return fLoadedStore ? static_cast<int>(eIxlaOk) : nl_loadStore(fLoadedStore);
}

int PConfigManager::nl_findLoadedValue(const PLiteral& iID, const PLiteral& iKey,
                                       PConfigValue*& oValue)
{
    const int result = nl_needLoadedStore();
    if (result != 0)
    {
        return result;
    }
    ShortText storeKey;
    _makeStoreKey(iID, iKey, storeKey);
    return static_cast<PConfig&>(*fLoadedStore).__findValue(storeKey, oValue);
}

int PConfigManager::nl_getLoadedString(const PLiteral& iID, const PLiteral& iKey, PString& oValue)
{
    PConfigValue* record = nullptr;
    const int result = nl_findLoadedValue(iID, iKey, record);
    if (result == 0)
    {
        oValue = record->fValue;
    }
    return result;
}

// Only lack of memory is passed on, because it says nothing about what the store holds.
int PConfigManager::nl_findValues(const PLiteral& iID, const PLiteral& iKey,
                                  PConfigValue*& oDynamic, PConfigValue*& oStored)
{
    // No run-time value is no failure.
    (void)nl_findDynamicValue(iID, iKey, oDynamic);
    const int result = nl_findLoadedValue(iID, iKey, oStored);
    return result == eIxlaNoMemory ? result : eIxlaOk;
}

int PConfigManager::findValues(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oDynamic,
                               PConfigValue*& oStored) noexcept
{
    return locked(&PConfigManager::nl_findValues, iID, iKey, oDynamic, oStored);
}

int PConfigManager::needLoadedStore() noexcept
{
    return locked(&PConfigManager::nl_needLoadedStore);
}

int PConfigManager::findLoadedValue(const PLiteral& iID, const PLiteral& iKey,
                                    PConfigValue*& oValue) noexcept
{
    return locked(&PConfigManager::nl_findLoadedValue, iID, iKey, oValue);
}

int PConfigManager::getLoadedString(const PLiteral& iID, const PLiteral& iKey,
                                    PString& oValue) noexcept
{
    return locked(&PConfigManager::nl_getLoadedString, iID, iKey, oValue);
}

// Listeners

int PConfigManager::addListener(const PLiteral& iID, const PLiteral& iTopic) noexcept
{
    return locked(&PConfigManager::nl_addListener, iID, iTopic);
}

int PConfigManager::removeListener(const PLiteral& iID, const PLiteral& iTopic) noexcept
{
    return locked(&PConfigManager::nl_removeListener, iID, iTopic);
}

int PConfigManager::nl_addListener(const PLiteral& iID, const PLiteral& iTopic)
{
    const auto place = fListeners.lower_bound(iID);
    if (place == fListeners.end() || place->first != iID)
    {
        std::vector<PString> topics;
        topics.emplace_back(iTopic);
        fListeners.emplace_hint(place, iID, std::move(topics));
        return eIxlaOk;
    }
    std::vector<PString>& topics = place->second;
    if (std::find(topics.begin(), topics.end(), iTopic) != topics.end())
    {
        return eIxlaAlreadyRegistered;
    }
    topics.emplace_back(iTopic);
    return eIxlaOk;
}

int PConfigManager::nl_removeListener(const PLiteral& iID, const PLiteral& iTopic)
{
    const auto listener = fListeners.find(iID);
    if (listener == fListeners.end())
    {
        return eIxlaNotFound;
    }
    std::vector<PString>& topics = listener->second;
    const auto topic = std::find(topics.begin(), topics.end(), iTopic);
    if (topic == topics.end())
    {
        return eIxlaNotFound;
    }
    topics.erase(topic);
    if (topics.empty())
    {
        fListeners.erase(listener);
    }
    return eIxlaOk;
}
