// SPDX-License-Identifier: MIT
// PCore: the one core of the process: plugins, their interfaces, start and stop.
#ifndef IXLAL_PCORE_H
#define IXLAL_PCORE_H

#include "Ixla.h"
#include "core/PCoreParts.h"

#include <atomic>
#include <memory>
#include <vector>

class PCallGate;
class PDir;
class PExitNotice;
class PStartArguments;
class PThread;

/// The core behind the exported functions, whose contracts are in Ixla.h.
class PCore
{
public:
    PCore() noexcept;

    /// Cleans up what the stop did not, closes mutex and condition variable and ends the core log.
    /// No call may be inside the core.
    virtual ~PCore();

    PCore(const PCore&) = delete;
    PCore& operator=(const PCore&) = delete;

    /// The core, also while it starts; null when there is none.
    static PCore* getCore() noexcept
    {
        return fCore.load(std::memory_order_acquire);
    }

    /// The gate that calls from outside pass, see PCoreCall; null before the first start, after a
    /// stop that had to leave calls inside, and in a child that was forked.
    static PCallGate* getGate() noexcept
    {
        return fGate.load(std::memory_order_acquire);
    }

    /// Where the core's own lines go; null without a log file. All forms of PLogger accept null.
    PLogger* getCoreLogger() const noexcept
    {
        return fParts.fLog.logger();
    }

    /// For the child after a fork. A core that its parent had, or was just starting or stopping,
    /// stays the parent's: all calls are refused from now on, and it is neither stopped nor
    /// destroyed here. Without one, the child may start a core of its own.
    static void leaveToParent() noexcept;

    static int ixlaStart(const PString* iArgs, unsigned int iCount);
    [[gnu::cold]] static int ixlaStop() noexcept;

    int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
    {
        return fParts.fLookup.ixlaGetInstance(iInterfaceId, oInstance);
    }

    bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId)
    {
        return fParts.fLookup.ixlaIsInterfaceAvailable(iInterfaceId);
    }

    int ixlaUnloadPlugin(IPlugin* iPlugin)
    {
        return fParts.fRegistry.ixlaUnloadPlugin(iPlugin);
    }

    /// The whole start, in PCoreStart.cpp. May throw std::bad_alloc, as the four below.
    int startFlow(const PString* iArgs, unsigned int iCount);

    /// Publishes the settings that all plugins share. 0, or -1010 without a required key.
    int setGlobalConfig();

    /// See PPluginLoader.
    int loadInternalPlugins();
    int loadPluginLib(const PLiteral& iPath);
    int processPlugin(PBaseptr<IPlugin> iPlugin, PPtr<PLibrary> iLibrary);

    /// See PPluginInit.
    int initPlugin(PCorePlugin& ioRecord)
    {
        return fParts.fInit.initPlugin(ioRecord);
    }

    /// See PAutostart.
    int initAutoStartPlugin(PString& iPluginName);

    /// As ixlaGetInstance, also before the core is marked started.
    int getInstanceInternal(const PLiteral& iInterfaceId, IBase*& oInstance)
    {
        return fParts.fLookup.getInstanceInternal(iInterfaceId, oInstance);
    }

    /// The whole stop but the destruction, in PCoreStop.cpp.
    int stopFlow();

    /// Sends the exit event and reports to the stop flow. 0, -1013, -1014, -1015.
    /// A listener that ends the thread takes it through here.
    int notifyCoreExit();

    /// Releases services, plugins and libraries, in this order.
    void cleanup();

private:
    [[gnu::cold]] static int start(const PString* iArgs, unsigned int iCount);
    [[gnu::cold]] static int runStart(PCore& ioCore, const PString* iArgs, unsigned int iCount);
    static PCallGate* provideGate() noexcept;
    [[gnu::cold]] static void endCore() noexcept;

    // PCoreStart.cpp
    int loadCoreConfig(const PStartArguments& iArguments, const PString* iArgs,
                       unsigned int iCount);
    int loadPropertyFile(const PLiteral& iFile);
    int publishLogDefaults(const PStartArguments& iArguments);
    void publishDefault(const PLiteral& iKey, int iValue, int& ioResult);
    int readLoadList(std::vector<PString>& oLoadList);
    int findPluginsDir(PString& ioDir);
    int loadPlugins(const PLiteral& iDir, const std::vector<PString>& iLoadList);
    int loadEntries(PDir& ioEntries, const PLiteral& iDir, const std::vector<PString>& iLoadList);
    int loadEntry(const PLiteral& iDir, const PLiteral& iEntry);
    int markStarted();
    int initAutoStartList();
    void announceStart();

    // PCoreGlobalConfig.cpp
    int publishDir(const wchar_t* iKey, const wchar_t* iSetFormat, const wchar_t* iMissingFormat);
    void publishInt32(const wchar_t* iKey, const wchar_t* iSetFormat);
    void publishBool(const wchar_t* iKey, const wchar_t* iSetFormat);
    void publishCustomKeys();
    void pinGlobal(const PLiteral& iKey);

    // PCoreStop.cpp
    static void* thNotifyCoreExit(void* iCore);
    void writeMemory() const;
    int readExitTimeout();
    int announceExit(int iTimeout);
    int startNotifier(PThread& ioNotifier);
    void join(PThread& ioNotifier) const;
    int nl_awaitNotifier(int iTimeout) IXLA_REQUIRES(fParts.fLock.fMutex);
    bool nl_partFromNotifier() IXLA_REQUIRES(fParts.fLock.fMutex);
    void graceSleep(int iTimeout);
    // Unlocks what an early return of the stop flow may have left locked, which the analysis cannot
    // know.
    void partFromNotifier() noexcept IXLA_NO_THREAD_SAFETY_ANALYSIS;
    bool letCallsLeave() noexcept;
    bool closeConfigManager(long long iStart) noexcept;
    void keep() noexcept;
    int endNotification(PExitNotice* iNotice, bool iEndedByListener);
    int reportExit();

    static std::atomic<PCore*> fCore;
    static std::atomic<PCallGate*> fGate;
    static PCore* fKeptCores; ///< those that calls never left; only the one start or stop sets it

    PCoreParts fParts;
    bool fNotifyExit IXLA_GUARDED_BY(fParts.fLock.fMutex);
    std::shared_ptr<PExitNotice> fExitNotice; ///< null until the stop

    // Of a core that is kept for the calls inside, all for good.
    bool fKept;
    PCallGate* fKeptGate;
    PCore* fNextKept;
};

#endif
