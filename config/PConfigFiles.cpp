// SPDX-License-Identifier: MIT
#include "config/PConfigFiles.h"

#include "Ixla.h"
#include "config/PConfigLoader.h"
#include "config/PConfigLog.h"
#include "config/PConfigResult.h"
#include "config/PRunTimeValues.h"
#include "core/PServiceLog.h"
#include "portinglayer/PUtils.h"

#include <utility>

namespace
{
constexpr wchar_t kManagerFile[] = L"ixlap.configmanager.prs";
constexpr wchar_t kStoreFileKey[] = L"ixlap.configmanager.store.file";
constexpr wchar_t kConfigDirKey[] = L"core.plugins.config.dir";
constexpr wchar_t kCustomConfigPrefix[] = L"custom.config.";

/// Keys up to this length are composed without allocating.
constexpr unsigned int kShortText = 127;
} // namespace

PConfigFiles::PConfigFiles(IConfigManager& ioManager, PRunTimeValues& ioValues,
                           PConfigLog& ioLog) noexcept
    : fManager(ioManager), fValues(ioValues), fLog(ioLog)
{
}

int PConfigFiles::nl_loadManagerConfig()
{
    if (fManagerConfig)
    {
        return eIxlaOk;
    }
    PString path;
    nl_createFilePath(kManagerFile, path);
    PReadFault fault;
    const int result = PConfigLoader::_loadFile(fManager, &fManager, path, fManagerConfig, fault);
    if (result != 0)
    {
        fLog.nl_pluginsError(L"[%s] Failed to load config manager file(%ls) err: %d",
                             "nl_loadManagerConfig", path.ptr(), result);
    }
    if (fault.code != 0)
    {
        // This error is usually the reason why there is no plugins' log.
        logServiceError(L"[%s] Failed to load config manager file(%ls) line: %u err: %d",
                        "nl_loadManagerConfig", path.ptr(), fault.line, fault.code);
    }
    return result;
}

int PConfigFiles::nl_readFileList(const PLiteral& iID, PString& oFiles)
{
    const int result = fManagerConfig->getString(iID, oFiles);
    if (result == 0)
    {
        fLog.nl_debug(L"[%s] Parse for iID: %ls files: %ls", "appendByID", iID.ptr(), oFiles.ptr());
    }
    else if (result == eIxlaNotFound)
    {
        fLog.nl_debug(L"[%s] No config for iID(%ls)", "appendByID", iID.ptr());
    }
    else
    {
        fLog.nl_error(L"[%s] Failed to load config for iID(%ls) err: %d", "appendByID", iID.ptr(),
                      result);
    }
    return result;
}

int PConfigFiles::nl_appendFiles(PString& ioFiles, const PBaseptr<IConfig>& ioConfig)
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

int PConfigFiles::nl_appendFile(const PLiteral& iName, const PBaseptr<IConfig>& ioConfig)
{
    fLog.nl_debug(L"[%s] Parse file: %ls", "appendByID", iName.ptr());
    PString path;
    nl_createFilePath(iName, path);
    fLog.nl_debug(L"[%s] Append file path: %ls", "appendByID", path.ptr());
    const int result = fManager.appendByFile(path, ioConfig);
    if (result != 0)
    {
        fLog.nl_error(L"[%s] Failed to append file path(%ls) err: %d", "appendByID", path.ptr(),
                      result);
    }
    const PReadFault fault = PConfigLoader::_faultOf(ioConfig);
    if (fault.code != 0 && fault.line != 0)
    {
        fLog.nl_error(L"[%s] Stopped reading file path(%ls) line: %u err: %d", "appendByID",
                      path.ptr(), fault.line, fault.code);
    }
    return result;
}

int PConfigFiles::nl_readStoreName(PString& oName)
{
    if (!fManagerConfig)
    {
        return eIxlaNoInstance;
    }
    const int result = fManagerConfig->getString(kStoreFileKey, oName);
    if (result == eIxlaNoMemory)
    {
        return result;
    }
    return result != 0 || oName.len() == 0 ? eIxlaNoStoreFile : eIxlaOk;
}

void PConfigFiles::nl_appendIDs(std::vector<PString>& ioIDs) const
{
    for (const PConfigRecord* record : PConfigLoader::_valuesOf(fManagerConfig).inOrder())
    {
        if (record->key != kStoreFileKey)
        {
            ioIDs.emplace_back(record->key);
        }
    }
}

void PConfigFiles::nl_createFilePath(const PLiteral& iName, PString& oPath)
{
    const PConfigValues* const shared = fValues.findTable(kIxlaGlobalConfigId);
    PShortString<kShortText> customKey;
    customKey = kCustomConfigPrefix;
    customKey += iName;
    const PConfigValue* const custom = shared ? shared->find(customKey) : nullptr;
    PShortString<kShortText> candidate;
    candidate = custom ? static_cast<const PLiteral&>(custom->fValue) : iName;
    PUtils::fixFileSeparator(candidate);

    unsigned int slash = 0;
    const bool isName = !candidate.chr(L'/', slash);
    const PConfigValue* const dir = isName && shared ? shared->find(kConfigDirKey) : nullptr;
    PShortString<kShortText> path;
    if (dir)
    {
        path = dir->fValue;
        path += path.endsWith(L"/") ? L"" : L"/";
    }
    path += candidate;
    oPath = static_cast<const PLiteral&>(path);
}

PBaseptr<IConfig> PConfigFiles::nl_takeManagerConfig()
{
    PBaseptr<IConfig> taken = fManagerConfig;
    fManagerConfig.clear();
    return taken;
}
