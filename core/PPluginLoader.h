// SPDX-License-Identifier: MIT
// PPluginLoader: creates plugins, built in or from libraries, and registers them.
#ifndef IXLAL_PPLUGINLOADER_H
#define IXLAL_PPLUGINLOADER_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "portinglayer/PLibrary.h"

class PCoreLog;
class PLogger;
class PPluginRegistry;

/// Loads plugins while the core starts, on the starting thread. It takes no lock and initialises no
/// plugin. The three public operations may throw std::bad_alloc.
class PPluginLoader
{
public:
    PPluginLoader(const PCoreLog& iLog, PPluginRegistry& ioRegistry) noexcept
        : fLog(iLog), fRegistry(ioRegistry)
    {
    }

    PPluginLoader(const PPluginLoader&) = delete;
    PPluginLoader& operator=(const PPluginLoader&) = delete;

    /// Registers the plugins of the three services. Returns 0, -501, or the code of processPlugin.
    int loadInternalPlugins();

    /// Loads the library and registers its plugin. iFreeOnDestroy: see PLibrary::load. Returns 0,
    /// the code of PLibrary::load, -1008 without a factory, -1009 when the factory returns null, or
    /// the code of processPlugin.
    int loadPluginLib(const PLiteral& iPath, bool iFreeOnDestroy);

    /// Registers a plugin and its interfaces; the library is empty for a built-in one. Returns 0,
    /// -501, -1007 when an interface is taken, or -2003 when the plugin throws.
    int processPlugin(PBaseptr<IPlugin> iPlugin, PPtr<PLibrary> iLibrary);

private:
    typedef int Write(PLogger*, int, const wchar_t*, ...);

    void measure(const wchar_t* iFormat, const PLiteral& iPath, unsigned long long& oBytes,
                 Write* iWrite) const;
    int createPlugin(PLibrary& iLibrary, PBaseptr<IPlugin>& oPlugin) const;
    int readInterfaces(IPlugin& iPlugin, PPtr<PString>& oIDs, unsigned int& oCount) const;

    const PCoreLog& fLog;
    PPluginRegistry& fRegistry;
};

#endif
