// SPDX-License-Identifier: MIT
#include "core/PStartFlow.h"

#include "Ixla.h"
#include "config/PConfigLoader.h"
#include "config/PConfigManager.h"
#include "config/PReadFault.h"
#include "core/PCoreParts.h"
#include "core/PStartArguments.h"
#include "portinglayer/PBlank.h"
#include "portinglayer/PDir.h"
#include "portinglayer/PStandardError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{
constexpr wchar_t kCoreVersion[] = L"3.3.32";

void _print(const char* iText)
{
    // The core starts without a banner when the stream fails.
    static_cast<void>(PStandardError::write(iText, std::strlen(iText)));
}

/// Reads the token of a list after ioPos as PLiteral::getNextToken does, but leaves the rest where
/// it is. Logs the token in iFormat and converts it to the file name of a library. Returns 0, -61
/// after the last token, or -12.
int _nextFile(const PString& iList, unsigned int& ioPos, PLogger* iLogger, const wchar_t* iFormat,
              PString& oFile)
{
    const wchar_t* const end = iList.ptr() + iList.len();
    while (ioPos < iList.len())
    {
        const wchar_t* const begin = iList.ptr() + ioPos;
        const wchar_t* const stop = std::find(begin, end, L',');
        ioPos = static_cast<unsigned int>(stop - iList.ptr()) + 1;
        const PSpan token = PBlank::trimmed(begin, static_cast<unsigned int>(stop - begin));
        if (token.len > 0)
        {
            const int result = oFile.set(token.text, token.len);
            if (result == 0)
            {
                PLogger::debug(iLogger, 0, iFormat, oFile.ptr());
            }
            return result == 0 ? PLibrary::fixLibName(oFile) : result;
        }
    }
    return -ENODATA;
}
} // namespace

int PStartFlow::startFlow(const PString* iArgs, unsigned int iCount)
{
    if (!iArgs || iCount == 0)
    {
        return eIxlaInvalidArgument;
    }
    PStartArguments arguments;
    int result = arguments.parse(iArgs, iCount, fParts.fLog.logger());
    if (result != 0)
    {
        return result;
    }
    fParts.fLog.open(arguments);
    PLogger::debug(fParts.fLog.logger(), 0, L"[startFlow] Core v%ls", kCoreVersion);
    result = fParts.fLock.init(fParts.fLog.logger());
    if (result != 0)
    {
        return result;
    }
    result = fParts.fLoader.loadInternalPlugins();
    if (result != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[startFlow] Failed to load internal plugins err: %d", result);
        return result;
    }
    result = loadCoreConfig(arguments, iArgs, iCount);
    if (result != 0)
    {
        return result;
    }
    result = fParts.fGlobalConfig.setGlobalConfig();
    if (result != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[startFlow] Failed to fill central config err: %d", result);
        return result;
    }
    std::vector<PString> loadList;
    result = readLoadList(loadList);
    if (result == 0)
    {
        result = findPluginsDir(arguments.fPluginsDir);
    }
    if (result == 0)
    {
        result = loadPlugins(arguments.fPluginsDir, loadList);
    }
    return result == 0 ? markStarted() : result;
}

int PStartFlow::loadCoreConfig(const PStartArguments& iArguments, const PString* iArgs,
                               unsigned int iCount)
{
    IBase* instance = nullptr;
    int result = fParts.fLookup.getInstanceInternal(kIxlaConfigManagerId, instance);
    if (result != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[startFlow] Failed to get IConfigManager instance err: %d", result);
        return eIxlaNoConfigManager;
    }
    fParts.fServices.fConfigManager = static_cast<IConfigManager*>(instance);
    const PString& file = iArguments.fCorePrsFile;
    PLogger::debug(fParts.fLog.logger(), 0, L"[startFlow] Loading core prs: %ls", file.ptr());
    if (file.len() == 0)
    {
        result =
            fParts.fServices.fConfigManager->loadByArgs(iArgs, iCount, fParts.fServices.fConfig);
    }
    else
    {
        result = loadPropertyFile(file);
        if (result == 0)
        {
            result = fParts.fServices.fConfigManager->appendByArgs(iArgs, iCount,
                                                                   fParts.fServices.fConfig);
        }
    }
    if (result == 0)
    {
        result = fParts.fGlobalConfig.publishLogDefaults(iArguments);
    }
    if (result != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0, L"[startFlow] Failed to load core config err: %d",
                       result);
        fParts.fServices.fConfig.clear();
        return eIxlaCoreConfigFailed;
    }
    return eIxlaOk;
}

int PStartFlow::loadPropertyFile(const PLiteral& iFile)
{
    PConfigManager& manager = static_cast<PConfigManager&>(*fParts.fServices.fConfigManager);
    PReadFault fault;
    const int result =
        PConfigLoader::_loadFile(manager, &manager, iFile, fParts.fServices.fConfig, fault);
    if (fault.code != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[startFlow] Failed to load core prs: %ls line: %u err: %d", iFile.ptr(),
                       fault.line, fault.code);
    }
    return result;
}

int PStartFlow::readLoadList(std::vector<PString>& oLoadList)
{
    PString list;
    const int result = fParts.fServices.fConfig->getString(L"core.load.plugin.list", list);
    if (result != 0)
    {
        // Without a list every library is loaded, so a list that could not be read for lack of
        // memory must not count as none.
        return result == eIxlaNoMemory ? result : eIxlaOk;
    }
    PLogger::debug(fParts.fLog.logger(), 0, L"[startFlow] Parse loadPluginsList: %ls", list.ptr());
    PString file;
    unsigned int pos = 0;
    int next = 0;
    while ((next = _nextFile(list, pos, fParts.fLog.logger(),
                             L"[startFlow] Add to load list pluginName: %ls", file)) == 0)
    {
        oLoadList.push_back(file);
    }
    // A list shortened for lack of memory would load other plugins.
    return next == -ENODATA ? eIxlaOk : eIxlaNoMemory;
}

int PStartFlow::findPluginsDir(PString& ioDir)
{
    if (ioDir.len() != 0)
    {
        return eIxlaOk;
    }
    const int result = fParts.fServices.fConfig->getString(L"core.plugins.dir", ioDir);
    if (result != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[startFlow] Failed to get from config plugins dir err: %d", result);
        return eIxlaNoPluginsDir;
    }
    if (ioDir.len() == 0)
    {
        PLogger::error(fParts.fLog.logger(), 0, L"[startFlow] Plugins dir not set.");
        return eIxlaNoPluginsDir;
    }
    return eIxlaOk;
}

int PStartFlow::loadPlugins(const PLiteral& iDir, const std::vector<PString>& iLoadList)
{
    const PLiteral filter(L"*.so");
    PLogger::debug(fParts.fLog.logger(), 0,
                   L"[startFlow] Loading plugins from dir: %ls, filter: %ls", iDir.ptr(),
                   filter.ptr());
    PDir entries(iDir, filter);
    const int result = entries.preaddir();
    if (result == -ENOMEM)
    {
        return eIxlaNoMemory;
    }
    if (result != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[startFlow] Failed to read plugins dir: %ls err: %d", iDir.ptr(), result);
    }
    return loadEntries(entries, iDir, iLoadList);
}

int PStartFlow::loadEntries(PDir& ioEntries, const PLiteral& iDir,
                            const std::vector<PString>& iLoadList)
{
    const bool freeLibraries = fParts.fServices.readFreeLibraries();
    for (; ioEntries == 0; ++ioEntries)
    {
        const PString& entry = ioEntries.getEntry();
        if (!iLoadList.empty() &&
            std::find(iLoadList.begin(), iLoadList.end(), entry) == iLoadList.end())
        {
            continue;
        }
        const int result = loadEntry(iDir, entry, freeLibraries);
        if (result != 0)
        {
            return result;
        }
    }
    return eIxlaOk;
}

int PStartFlow::loadEntry(const PLiteral& iDir, const PLiteral& iEntry, bool iFreeOnDestroy)
{
    PLogger::debug(fParts.fLog.logger(), 0, kCoreLogFrame);
    PString path;
    // The text grows where there was no memory to reserve.
    static_cast<void>(path.reserve(iDir.len() + 1 + iEntry.len()));
    path = iDir;
    path += L"/";
    path += iEntry;
    PLogger::debug(fParts.fLog.logger(), 0, L"[startFlow] Loading plugin: %ls", path.ptr());
    const int result = fParts.fLoader.loadPluginLib(path, iFreeOnDestroy);
    if (result == eIxlaNotAPlugin)
    {
        PLogger::debug(fParts.fLog.logger(), 0,
                       L"[startFlow] Library is not a plugin ignore it: %ls", path.ptr());
        return eIxlaOk;
    }
    return result;
}

int PStartFlow::markStarted()
{
    PLogger::debug(fParts.fLog.logger(), 0, L"[startFlow] Mark that core is started");
    fParts.fRegistry.markStarted();
    _print("\n[iXLA] Core started.\n");

    IBase* instance = nullptr;
    int result = fParts.fLookup.getInstanceInternal(kIxlaEventDispatcherId, instance);
    if (result != 0)
    {
        PLogger::error(fParts.fLog.logger(), 0,
                       L"[startFlow] Failed to get IEventDispatcher instance err: %d", result);
        return eIxlaNoEventDispatcher;
    }
    fParts.fServices.fEventDispatcher = static_cast<IEventDispatcher*>(instance);
    result = initAutoStartList();
    if (result != 0)
    {
        return result;
    }
    announceStart();
    return eIxlaOk;
}

int PStartFlow::initAutoStartList()
{
    PString list;
    const int result = fParts.fServices.fConfig->getString(L"core.autostart.list", list);
    if (result != 0)
    {
        PLogger::debug(fParts.fLog.logger(), 0, L"[startFlow] No autostart property res: %d",
                       result);
        return result == eIxlaNoMemory ? result : eIxlaOk;
    }
    PLogger::info(fParts.fLog.logger(), 0, L"[startFlow] Get autostart list: %ls", list.ptr());
    PString file;
    unsigned int pos = 0;
    int next = 0;
    while ((next = _nextFile(list, pos, fParts.fLog.logger(),
                             L"[startFlow] Process autostart plugin name: %ls", file)) == 0)
    {
        // A plugin that fails to initialise is logged there and does not fail the start.
        fParts.fAutostart.initAutoStartPlugin(file);
    }
    return next == -ENODATA ? eIxlaOk : eIxlaNoMemory;
}

void PStartFlow::announceStart()
{
    PLogger::debug(fParts.fLog.logger(), 0, L"[startFlow] Sending event: %ls", kIxlaCoreStartTopic);
    // The event may have no listener.
    fParts.fServices.fEventDispatcher->send(kIxlaCoreStartTopic, nullptr, 0);
    _print("\n[iXLA] Plugins initialized.\n\n");
    fParts.fLog.writeFreeMemory(L"[startFlow] Free mem: %llu");
    PLogger::info(fParts.fLog.logger(), 0, L"[startFlow] Proc mem Start flow end: %llu",
                  fParts.fLog.readProcessMemory());
    PLogger::debug(fParts.fLog.logger(), 0, L"[startFlow] Done.");
    PLogger::debug(fParts.fLog.logger(), 0, kCoreLogFrame);
}
