// SPDX-License-Identifier: MIT
#include "PGuarded.h"
#include "config/PConfigPlugin.h"
#include "core/PCore.h"
#include "events/PEventDispatcherPlugin.h"
#include "logging/PLoggerPlugin.h"
#include "portinglayer/PProcess.h"

#include <algorithm>
#include <memory>
#include <new>

namespace
{
typedef IPlugin* Factory();

constexpr char kFactorySymbol[] = "_Z13ixlaGetPluginv";
constexpr char kLoadOperation[] = "loadPluginLib";

/// One of the plugins that the core brings, and the lines about it.
struct BuiltIn
{
    IPlugin* (*create)();
    const wchar_t* loading;
    const wchar_t* failed;
};

template <class TPlugin>
IPlugin* _create()
{
    return new (std::nothrow) TPlugin;
}

const BuiltIn sBuiltIns[] = {
    {&_create<PConfigPlugin>, L"[loadInternalPlugins] Loading internal plugin IConfig.",
     L"[loadInternalPlugins] Failed to process IConfig plugin err: %d"},
    {&_create<PEventDispatcherPlugin>,
     L"[loadInternalPlugins] Loading internal plugin IEventDispatcher.",
     L"[loadInternalPlugins] Failed to process IEventDispatcher plugin err: %d"},
    {&_create<PLoggerPlugin>, L"[loadInternalPlugins] Loading internal plugin ILogger.",
     L"[loadInternalPlugins] Failed to process ILogger plugin err: %d"},
};
} // namespace

int PCore::loadInternalPlugins()
{
    for (const BuiltIn& builtIn : sBuiltIns)
    {
        PLogger::debug(getCoreLogger(), 0, builtIn.loading);
        IPlugin* const plugin = builtIn.create();
        if (!plugin)
        {
            return eIxlaNoMemory;
        }
        int result = processPlugin(PBaseptr<IPlugin>::adopt(plugin), PPtr<PLibrary>());
        if (result == 0 && fCorePlugins.back()->fInterfaceCount == 0)
        {
            // A built-in plugin that lists nothing lacked the memory for its list.
            result = eIxlaNoMemory;
        }
        if (result != 0)
        {
            PLogger::error(getCoreLogger(), 0, builtIn.failed, result);
            return result;
        }
    }
    return eIxlaOk;
}

int PCore::loadPluginLib(const PLiteral& iPath)
{
    PLogger::debug(getCoreLogger(), 0, L"[loadPluginLib] in library: %ls", iPath.ptr());
    const bool freeLibOnDestroy = readFreeLibraries();
    unsigned long long before = 0;
    measure(L"[%s] Used mem before %ls plugin: %llu", iPath, before, &PLogger::info);

    PLibrary* loaded = nullptr;
    int result = PLibrary::load(iPath, loaded, freeLibOnDestroy);
    PLogger::debug(getCoreLogger(), 0,
                   L"[loadPluginLib] PLibrary::load freeLibOnDestroy: %d return res: %d",
                   freeLibOnDestroy ? 1 : 0, result);
    if (result != 0)
    {
        PString reason;
        // Without the memory for it the reason is left out; the code follows all the same.
        PLibrary::getLoadError(reason);
        PLogger::error(getCoreLogger(), 0, L"[loadPluginLib] Cannot load library: %ls reason: %ls",
                       iPath.ptr(), reason.ptr());
        PLogger::error(getCoreLogger(), 0, L"[startFlow] Failed to load lib err: %d", result);
        return result;
    }
    // Releases a plugin that is refused, and then its library.
    PCorePlugin held(&fLog);
    held.fLibrary = PPtr<PLibrary>::adopt(loaded);
    result = createPlugin(*held.fLibrary, held.fPlugin);
    if (result != 0)
    {
        return result;
    }
    result = processPlugin(held.fPlugin, held.fLibrary);
    PLogger::debug(getCoreLogger(), 0, L"[loadPluginLib] processPlugin(...) res: %d ", result);
    if (result != 0)
    {
        PLogger::error(getCoreLogger(), 0, L"[startFlow] Failed to process plugin err: %d", result);
        return result;
    }
    unsigned long long after = 0;
    measure(L"[%s] Used mem after %ls plugin: %llu", iPath, after, &PLogger::debug);
    PLogger::info(getCoreLogger(), 0, L"[%s] Memory usage of plugin %ls: %llu", kLoadOperation,
                  iPath.ptr(), after - before);
    return eIxlaOk;
}

/// Reads the memory of the process into oBytes and says so; the failure is logged. Without a log
/// nobody would hear of it.
void PCore::measure(const wchar_t* iFormat, const PLiteral& iPath, unsigned long long& oBytes,
                    int (*iWrite)(PLogger*, int, const wchar_t*, ...)) const
{
    if (!getCoreLogger())
    {
        return;
    }
    const int result = PProcess::getMemoryUsage(PProcess::getCurrentPID(), oBytes);
    if (result != 0)
    {
        PLogger::error(getCoreLogger(), 0, L"[%s] PProcess::getMemoryUsage() failed with err: %d",
                       kLoadOperation, result);
        return;
    }
    iWrite(getCoreLogger(), 0, iFormat, kLoadOperation, iPath.ptr(), oBytes);
}

bool PCore::readFreeLibraries()
{
    bool freeLibraries = true;
    if (fConfig && fConfig->getBool(L"core.free.plugins.lib", freeLibraries) != 0)
    {
        return true;
    }
    return freeLibraries;
}

IXLA_PASSES_THREAD_END int PCore::createPlugin(PLibrary& iLibrary, PBaseptr<IPlugin>& oPlugin) const
{
    void* const address = iLibrary.getFunction(kFactorySymbol);
    PLogger::debug(getCoreLogger(), 0, L"[loadPluginLib] Get plugin function ixlaGetPlugin: %p",
                   address);
    if (!address)
    {
        PLogger::error(getCoreLogger(), 0, L"[startFlow] Failed to get plugin function from lib");
        return eIxlaNotAPlugin;
    }
    IPlugin* plugin = nullptr;
    try
    {
        plugin = reinterpret_cast<Factory*>(address)();
    }
    catch (PThreadEnd&)
    {
        throw;
    }
    catch (...)
    {
        PLogger::error(getCoreLogger(), 0,
                       L"[loadPluginLib] Plugin function ixlaGetPlugin threw an exception");
    }
    PLogger::debug(getCoreLogger(), 0, L"[loadPluginLib] Get IPlugin ptr: %p",
                   static_cast<void*>(plugin));
    if (!plugin)
    {
        PLogger::error(getCoreLogger(), 0, L"[startFlow] Plugin function return NULL for IPlugin");
        return eIxlaNullPlugin;
    }
    oPlugin = PBaseptr<IPlugin>::adopt(plugin);
    return eIxlaOk;
}

// cppcheck-suppress passedByValue ; holds shares of its own while it calls the plugin
// NOLINTNEXTLINE(performance-unnecessary-value-param): holds shares of its own, as said above
int PCore::processPlugin(PBaseptr<IPlugin> iPlugin, PPtr<PLibrary> iLibrary)
{
    if (iLibrary)
    {
        PLogger::debug(getCoreLogger(), 0, L"[processPlugin][pg:%p] library: %ls",
                       static_cast<void*>(iPlugin.get()), iLibrary->getName().ptr());
    }
    else
    {
        PLogger::debug(getCoreLogger(), 0, L"[processPlugin][pg:%p] Internal plugin",
                       static_cast<void*>(iPlugin.get()));
    }
    PPtr<PString> ids;
    unsigned int count = 0;
    int result = readInterfaces(*iPlugin, ids, count);
    if (result == 0)
    {
        result = checkInterfaces(ids.get(), count);
    }
    if (result != 0)
    {
        return result;
    }
    std::unique_ptr<PCorePlugin> record(new (std::nothrow) PCorePlugin(&fLog));
    if (!record)
    {
        return eIxlaNoMemory;
    }
    record->fPlugin = iPlugin;
    record->fInterfaceIDs = ids;
    record->fInterfaceCount = count;
    record->fLibrary = iLibrary;
    record->fNumber = fCorePlugins.empty() ? 1 : fCorePlugins.back()->fNumber + 1;
    PLogger::debug(getCoreLogger(), 0, L"[processPlugin] Add corePlugin: %p",
                   static_cast<void*>(record.get()));
    return ixlaGuarded(
        [&]
        {
            fCorePlugins.push_back(record.get());
            addInterfaces(*record.release());
            return eIxlaOk;
        });
}

/// The interface IDs of a plugin; what a plugin throws refuses it.
int PCore::readInterfaces(IPlugin& iPlugin, PPtr<PString>& oIDs, unsigned int& oCount) const
{
    const int result = ixlaGuarded(
        [&]
        {
            oIDs = PPtr<PString>::adopt(iPlugin.getInterfaces(oCount), ePtrArray);
            return eIxlaOk;
        },
        eIxlaInitFailed);
    if (result != 0)
    {
        PLogger::error(getCoreLogger(), 0,
                       L"[processPlugin][pg:%p] Plugin threw listing its interfaces err: %d",
                       static_cast<void*>(&iPlugin), result);
    }
    return result;
}

int PCore::checkInterfaces(const PString* iIDs, unsigned int iCount)
{
    for (unsigned int i = 0; iIDs && i < iCount; ++i)
    {
        const PCorePlugin* const found = findPlugin(iIDs[i]);
        if (!found)
        {
            continue;
        }
        const PPtr<PLibrary>& owner = found->fLibrary;
        if (owner)
        {
            PLogger::error(getCoreLogger(), 0,
                           L"[processPlugin] Interface already registered: %ls from plugin: %ls",
                           iIDs[i].ptr(), owner->getName().ptr());
        }
        else
        {
            PLogger::error(
                getCoreLogger(), 0,
                L"[processPlugin] Interface already registered: %ls from internal plugin",
                iIDs[i].ptr());
        }
        return eIxlaInterfaceRegistered;
    }
    return eIxlaOk;
}

void PCore::addInterfaces(PCorePlugin& iRecord)
{
    const PString* const ids = iRecord.fInterfaceIDs.get();
    try
    {
        for (unsigned int i = 0; ids && i < iRecord.fInterfaceCount; ++i)
        {
            PLogger::debug(getCoreLogger(), 0, L"[processPlugin] Add interface ID: %ls",
                           ids[i].ptr());
            fInterfaces.emplace(ids[i], &iRecord);
        }
    }
    catch (...)
    {
        removeRecord(iRecord);
        throw;
    }
}

void PCore::removeRecord(PCorePlugin& iRecord)
{
    std::erase_if(fInterfaces, [&](const auto& entry) { return entry.second == &iRecord; });
    std::erase(fCorePlugins, &iRecord);
    delete &iRecord;
}
