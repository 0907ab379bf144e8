// SPDX-License-Identifier: MIT
#include "core/PPluginLoader.h"

#include "Ixla.h"
#include "PGuarded.h"
#include "config/PConfigPlugin.h"
#include "core/PCoreLog.h"
#include "core/PPluginRegistry.h"
#include "events/PEventDispatcherPlugin.h"
#include "logging/PLoggerPlugin.h"
#include "portinglayer/PProcess.h"

#include <memory>
#include <new>

namespace
{
typedef IPlugin* Factory();

constexpr char kFactorySymbol[] = "_Z13ixlaGetPluginv";
constexpr char kLoadOperation[] = "loadPluginLib";

/// One of the built-in plugins, and its log lines.
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

int PPluginLoader::loadInternalPlugins()
{
    for (const BuiltIn& builtIn : sBuiltIns)
    {
        PLogger::debug(fLog.logger(), 0, builtIn.loading);
        IPlugin* const plugin = builtIn.create();
        if (!plugin)
        {
            return eIxlaNoMemory;
        }
        int result = processPlugin(PBaseptr<IPlugin>::adopt(plugin), PPtr<PLibrary>());
        if (result == 0 && fRegistry.records().back()->fInterfaceCount == 0)
        {
            // A built-in plugin lists nothing when there is no memory for its list.
            result = eIxlaNoMemory;
        }
        if (result != 0)
        {
            PLogger::error(fLog.logger(), 0, builtIn.failed, result);
            return result;
        }
    }
    return eIxlaOk;
}

int PPluginLoader::loadPluginLib(const PLiteral& iPath, bool iFreeOnDestroy)
{
    PLogger::debug(fLog.logger(), 0, L"[loadPluginLib] in library: %ls", iPath.ptr());
    unsigned long long before = 0;
    measure(L"[%s] Used mem before %ls plugin: %llu", iPath, before, &PLogger::info);

    PLibrary* loaded = nullptr;
    int result = PLibrary::load(iPath, loaded, iFreeOnDestroy);
    PLogger::debug(fLog.logger(), 0,
                   L"[loadPluginLib] PLibrary::load freeLibOnDestroy: %d return res: %d",
                   iFreeOnDestroy ? 1 : 0, result);
    if (result != 0)
    {
        PString reason;
        // Without memory the reason is empty; the code follows in the next line.
        PLibrary::getLoadError(reason);
        PLogger::error(fLog.logger(), 0, L"[loadPluginLib] Cannot load library: %ls reason: %ls",
                       iPath.ptr(), reason.ptr());
        PLogger::error(fLog.logger(), 0, L"[startFlow] Failed to load lib err: %d", result);
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
    PLogger::debug(fLog.logger(), 0, L"[loadPluginLib] processPlugin(...) res: %d ", result);
    if (result != 0)
    {
        PLogger::error(fLog.logger(), 0, L"[startFlow] Failed to process plugin err: %d", result);
        return result;
    }
    unsigned long long after = 0;
    measure(L"[%s] Used mem after %ls plugin: %llu", iPath, after, &PLogger::debug);
    PLogger::info(fLog.logger(), 0, L"[%s] Memory usage of plugin %ls: %llu", kLoadOperation,
                  iPath.ptr(), after - before);
    return eIxlaOk;
}

/// Reads the memory of the process into oBytes and logs it, or the failure. Does nothing without a
/// log.
void PPluginLoader::measure(const wchar_t* iFormat, const PLiteral& iPath,
                            unsigned long long& oBytes, Write* iWrite) const
{
    if (!fLog.logger())
    {
        return;
    }
    const int result = PProcess::getMemoryUsage(PProcess::getCurrentPID(), oBytes);
    if (result != 0)
    {
        PLogger::error(fLog.logger(), 0, L"[%s] PProcess::getMemoryUsage() failed with err: %d",
                       kLoadOperation, result);
        return;
    }
    iWrite(fLog.logger(), 0, iFormat, kLoadOperation, iPath.ptr(), oBytes);
}

IXLA_PASSES_THREAD_END int PPluginLoader::createPlugin(PLibrary& iLibrary,
                                                       PBaseptr<IPlugin>& oPlugin) const
{
    void* const address = iLibrary.getFunction(kFactorySymbol);
    PLogger::debug(fLog.logger(), 0, L"[loadPluginLib] Get plugin function ixlaGetPlugin: %p",
                   address);
    if (!address)
    {
        PLogger::error(fLog.logger(), 0, L"[startFlow] Failed to get plugin function from lib");
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
        PLogger::error(fLog.logger(), 0,
                       L"[loadPluginLib] Plugin function ixlaGetPlugin threw an exception");
    }
    PLogger::debug(fLog.logger(), 0, L"[loadPluginLib] Get IPlugin ptr: %p",
                   static_cast<void*>(plugin));
    if (!plugin)
    {
        PLogger::error(fLog.logger(), 0, L"[startFlow] Plugin function return NULL for IPlugin");
        return eIxlaNullPlugin;
    }
    oPlugin = PBaseptr<IPlugin>::adopt(plugin);
    return eIxlaOk;
}

// cppcheck-suppress passedByValue ; holds its own references while it calls the plugin
// NOLINTNEXTLINE(performance-unnecessary-value-param): its references outlast calls of the plugin
int PPluginLoader::processPlugin(PBaseptr<IPlugin> iPlugin, PPtr<PLibrary> iLibrary)
{
    if (iLibrary)
    {
        PLogger::debug(fLog.logger(), 0, L"[processPlugin][pg:%p] library: %ls",
                       static_cast<void*>(iPlugin.get()), iLibrary->getName().ptr());
    }
    else
    {
        PLogger::debug(fLog.logger(), 0, L"[processPlugin][pg:%p] Internal plugin",
                       static_cast<void*>(iPlugin.get()));
    }
    PPtr<PString> ids;
    unsigned int count = 0;
    int result = readInterfaces(*iPlugin, ids, count);
    if (result == 0)
    {
        result = fRegistry.checkInterfaces(ids.get(), count);
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
    return ixlaGuarded(
        [&]
        {
            fRegistry.add(std::move(record));
            return eIxlaOk;
        });
}

/// Reads the interface IDs of a plugin; a plugin that throws is refused.
int PPluginLoader::readInterfaces(IPlugin& iPlugin, PPtr<PString>& oIDs, unsigned int& oCount) const
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
        PLogger::error(fLog.logger(), 0,
                       L"[processPlugin][pg:%p] Plugin threw listing its interfaces err: %d",
                       static_cast<void*>(&iPlugin), result);
    }
    return result;
}
