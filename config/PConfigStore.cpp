// SPDX-License-Identifier: MIT
#include "config/PConfigStore.h"

#include "Ixla.h"
#include "config/PConfig.h"
#include "config/PConfigFiles.h"
#include "config/PConfigLoader.h"
#include "config/PConfigLog.h"
#include "config/PConfigRecords.h"
#include "config/PConfigResult.h"
#include "config/PStoreWriter.h"
#include "core/PReaderLock.h"
#include "portinglayer/PFile.h"

#include <algorithm>
#include <utility>

namespace
{
constexpr wchar_t kStoreSeparator = L'|';

/// Keys up to this length are composed without allocating.
constexpr unsigned int kShortText = 127;
typedef PShortString<kShortText> ShortText;

void _makeStoreKey(const PLiteral& iID, const PLiteral& iKey, PString& oStoreKey)
{
    oStoreKey = iID;
    oStoreKey += L"|";
    oStoreKey += iKey;
}

/// Whether a store has values of the configuration ID iID.
bool _storesID(const PConfigValues::Records& iStore, const PLiteral& iID)
{
    unsigned int position = 0;
    if (iID.chr(kStoreSeparator, position))
    {
        return false;
    }
    ShortText prefix;
    _makeStoreKey(iID, PLiteral(), prefix);
    const auto first = std::lower_bound(iStore.begin(), iStore.end(), prefix,
                                        [](const PConfigRecord* iRecord, const PLiteral& iPrefix)
                                        { return iRecord->key < iPrefix; });
    return first != iStore.end() && (*first)->key.startsWith(prefix.ptr(), prefix.len());
}

/// Appends the IDs of a store. The keys of one ID are adjacent.
void _appendStoredIDs(const PConfigValues::Records& iStore, std::vector<PString>& ioIDs)
{
    for (const PConfigRecord* record : iStore)
    {
        const PLiteral& key = record->key;
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

PConfigStore::PConfigStore(IConfigManager& ioManager, PConfigFiles& ioFiles, PConfigLog& ioLog,
                           PReaderLock& ioReaders, const std::atomic<bool>& iClosed) noexcept
    : fManager(ioManager), fFiles(ioFiles), fLog(ioLog), fReaders(ioReaders), fClosed(iClosed)
{
}

int PConfigStore::nl_change(const PLiteral& iID, const PLiteral& iKey, const Edit& iEdit)
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
    result = iEdit(values, storeKey);
    PStoreWriter writer;
    if (result == 0)
    {
        result = writer.prepare(values);
    }
    return result != 0 ? result : nl_saveStore(writer);
}

int PConfigStore::nl_storeString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iValue)
{
    return nl_change(iID, iKey,
                     [&](PConfigValues& ioValues, const PLiteral& iStoreKey)
                     { return PConfigRecords::_addValue(ioValues, iStoreKey, iValue); });
}

int PConfigStore::nl_storeAttrString(const PLiteral& iID, const PLiteral& iKey,
                                     const PLiteral& iAttribute, const PLiteral& iValue)
{
    return nl_change(iID, iKey,
                     [&](PConfigValues& ioValues, const PLiteral& iStoreKey)
                     {
                         return ioValues.find(iStoreKey)
                                    ? PConfigRecords::_addAttrValue(ioValues, iStoreKey, iAttribute,
                                                                    iValue)
                                    : static_cast<int>(eIxlaNoValueForAttribute);
                     });
}

int PConfigStore::nl_removeStored(const PLiteral& iID, const PLiteral& iKey,
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
    // Removing cannot fail.
    (void)PConfigRecords::_remove(PConfigLoader::_valuesOf(store), storeKey, iAttribute);
    PStoreWriter writer;
    result = writer.prepare(PConfigLoader::_valuesOf(store));
    if (result != 0)
    {
        return result;
    }
    if (fSnapshot)
    {
        const PReaderLock::Writer change(fReaders);
        (void)PConfigRecords::_remove(*fSnapshot, storeKey, iAttribute);
    }
    return nl_saveStore(writer);
}

int PConfigStore::nl_listIDs(std::vector<PString>& ioIDs)
{
    PBaseptr<IConfig> store;
    int result = nl_loadStore(store);
    if (result != 0)
    {
        return result;
    }
    const PConfigValues::Records stored = PConfigLoader::_valuesOf(store).inOrder();
    _appendStoredIDs(stored, ioIDs);
    result = fFiles.nl_loadManagerConfig();
    if (result != 0)
    {
        return result;
    }
    std::vector<PString> listed;
    fFiles.nl_appendIDs(listed);
    for (PString& id : listed)
    {
        if (!_storesID(stored, id))
        {
            ioIDs.push_back(std::move(id));
        }
    }
    return eIxlaOk;
}

int PConfigStore::nl_needLoadedStore()
{
    if (isKnown())
    {
        return fSnapshot ? eIxlaOk : eIxlaNoStoreFile;
    }
    PBaseptr<IConfig> store;
    const int result = nl_loadStore(store);
    // Without a name the result stays: the manager's configuration does not change.
    if (result == 0 || result == eIxlaNoStoreFile)
    {
        const PReaderLock::Writer writer(fReaders);
        fLoadedStore = store;
        fSnapshot = result == 0 ? &PConfigLoader::_valuesOf(store) : nullptr;
        fWithoutStore = result != 0;
    }
    return result;
}

int PConfigStore::nl_findLoadedValue(const PLiteral& iID, const PLiteral& iKey,
                                     PConfigValue*& oValue)
{
    const int result = nl_needLoadedStore();
    if (result != 0)
    {
        return result;
    }
    PConfigValue* const value = findKnown(iID, PConfigKey(iID).hash, PConfigKey(iKey));
    if (!value)
    {
        return eIxlaNotFound;
    }
    oValue = value;
    return eIxlaOk;
}

int PConfigStore::nl_getLoadedString(const PLiteral& iID, const PLiteral& iKey, PString& oValue)
{
    PConfigValue* record = nullptr;
    const int result = nl_findLoadedValue(iID, iKey, record);
    if (result == 0)
    {
        oValue = record->fValue;
    }
    return result;
}

PBaseptr<IConfig> PConfigStore::nl_takeLoadedStore()
{
    PBaseptr<IConfig> taken = fLoadedStore;
    const PReaderLock::Writer writer(fReaders);
    fLoadedStore.clear();
    fSnapshot = nullptr;
    fWithoutStore = false;
    return taken;
}

int PConfigStore::nl_parseStorePath()
{
    if (fStorePath.len() != 0)
    {
        return eIxlaOk;
    }
    if (fClosed)
    {
        return eIxlaNoInstance;
    }
    ShortText name;
    const int result = fFiles.nl_readStoreName(name);
    if (result == 0)
    {
        fFiles.nl_createFilePath(name, fStorePath);
    }
    return result;
}

int PConfigStore::nl_loadStore(PBaseptr<IConfig>& oStore)
{
    const int result = nl_parseStorePath();
    if (result != 0)
    {
        return result;
    }
    if (!PFile::exists(fStorePath))
    {
        // If the file cannot be created, reading it reports why.
        PFile file;
        (void)file.popen(fStorePath, PFile::eWrite | PFile::eCreate, 0);
        (void)file.pclose();
    }
    // After the manager was closed, the cycle between a snapshot and its manager is not broken any
    // more.
    IConfigManager* const manager = fClosed ? nullptr : &fManager;
    PReadFault fault;
    const int loaded = PConfigLoader::_loadFile(fManager, manager, fStorePath, oStore, fault);
    if (fault.code != 0)
    {
        fLog.nl_error(L"[%s] Failed to load store file: (%ls) line: %u err: %d", "nl_loadStore",
                      fStorePath.ptr(), fault.line, fault.code);
    }
    return loaded;
}

int PConfigStore::nl_saveStore(PStoreWriter& ioWriter)
{
    int result = configResult(PFile::pdelete(fStorePath));
    if (result != 0)
    {
        fLog.nl_error(L"[%s] Failed to delete old store file: (%ls) err: %d", "nl_saveStore",
                      fStorePath.ptr(), result);
        return result;
    }
    result = configResult(ioWriter.create(fStorePath));
    if (result != 0)
    {
        fLog.nl_error(L"[%s] Failed to create store file: (%ls) err: %d", "nl_saveStore",
                      fStorePath.ptr(), result);
        return result;
    }
    return configResult(ioWriter.write());
}
