// SPDX-License-Identifier: MIT
// PCore: the one core of the process: plugins, their interfaces, start and stop.
#ifndef IXLAL_PCORE_H
#define IXLAL_PCORE_H

#include "IConfig.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "core/PCoreLog.h"
#include "core/PCorePlugin.h"
#include "portinglayer/PConditionalVar.h"
#include "portinglayer/PMutex.h"
#include "portinglayer/PTextHash.h"
#include "portinglayer/PThreadSafety.h"

#include <atomic>
#include <memory>
#include <unordered_map>
#include <vector>

class PCallGate;
class PDir;
class PExitNotice;
class PInitWait;
class PStartArguments;
class PThread;

/// The core behind the exported functions, whose contracts are in Ixla.h.
///
/// Its mutex guards the init states of all records, the record list during unload, and the exit
/// flag. The registry is read without it: entries come before the core is started and go in the
/// clean-up; unload only empties them, so other interfaces may be looked up meanwhile. Plugin code
/// runs with no lock held, except the destruction of a plugin that is being unloaded. The loader is
/// never called with it held.
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
        return fLog.logger();
    }

    /// For the child after a fork. A core that its parent had, or was just starting or stopping,
    /// stays the parent's: all calls are refused from now on, and it is neither stopped nor
    /// destroyed here. Without one, the child may start a core of its own.
    static void leaveToParent() noexcept;

    static int ixlaStart(const PString* iArgs, unsigned int iCount);
    [[gnu::cold]] static int ixlaStop() noexcept;

    int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance);
    bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId);
    int ixlaUnloadPlugin(IPlugin* iPlugin);

    /// The whole start, in PCoreStart.cpp. May throw std::bad_alloc, as the three below.
    int startFlow(const PString* iArgs, unsigned int iCount);

    /// Publishes the settings that all plugins share. 0, or -1010 without a required key.
    int setGlobalConfig();

    /// Registration, in PCoreLoad.cpp; before the core is started only. The library is empty for a
    /// built-in plugin.
    int loadInternalPlugins();
    int loadPluginLib(const PLiteral& iPath);
    int processPlugin(PBaseptr<IPlugin> iPlugin, PPtr<PLibrary> iLibrary);

    /// Initialises the plugin of a record unless that was done. Returns 0, the plugin's own code
    /// to the initialising caller, -2003 to others after a failure, -2004 in a loop on the same
    /// thread, -1016 when it is unloaded already, -1013, -1014.
    int initPlugin(PCorePlugin& ioRecord);

    /// Initialises every plugin whose library has this file name, in PCoreAutostart.cpp. One that
    /// is unloaded meanwhile is released after its init. The result of the last one; 0 when there
    /// is none.
    int initAutoStartPlugin(PString& iPluginName);

    /// As ixlaGetInstance, also before the core is marked started.
    int getInstanceInternal(const PLiteral& iInterfaceId, IBase*& oInstance);

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
    int initLocks();
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

    // PCore.cpp
    PCorePlugin* findPlugin(const PLiteral& iInterfaceId) const;

    // PCoreLoad.cpp
    bool readFreeLibraries();
    void measure(const wchar_t* iFormat, const PLiteral& iPath, unsigned long long& oBytes,
                 int (*iWrite)(PLogger*, int, const wchar_t*, ...)) const;
    int readInterfaces(IPlugin& iPlugin, PPtr<PString>& oIDs, unsigned int& oCount) const;
    int createPlugin(PLibrary& iLibrary, PBaseptr<IPlugin>& oPlugin) const;
    int checkInterfaces(const PString* iIDs, unsigned int iCount);
    void addInterfaces(PCorePlugin& iRecord);
    void removeRecord(PCorePlugin& iRecord);

    // PCoreInit.cpp
    int runInit(PCorePlugin& ioRecord);
    int callInit(const PCorePlugin& iRecord) const;
    int guardedInit(const PCorePlugin& iRecord) const;
    int guardedGetInstance(const PCorePlugin& iRecord, const PLiteral& iInterfaceId,
                           IBase*& oInstance) const;
    int finishInit(PCorePlugin& ioRecord, int iResult);
    int nl_awaitInit(PCorePlugin& iRecord, bool& oWaitFailed) IXLA_REQUIRES(fMutex);
    [[gnu::cold]] void nl_logWait(const PCorePlugin& iRecord) IXLA_REQUIRES(fMutex);
    [[gnu::cold]] void nl_logLoop(const PCorePlugin& iRecord) IXLA_REQUIRES(fMutex);

    // PCoreAutostart.cpp
    struct EndUse
    {
        PCore* core;
        void operator()(PCorePlugin* iRecord) const noexcept;
    };
    /// A record that the core works with by itself: it is not destroyed before it is given up.
    typedef std::unique_ptr<PCorePlugin, EndUse> UsedPlugin;
    /// The record behind ioRecord, or the first one, whose library has the file name; null at the
    /// end.
    int useNext(const PLiteral& iFileName, UsedPlugin& ioRecord);
    PCorePlugin* nl_findByFile(const PLiteral& iFileName, unsigned int iAfter) const
        IXLA_REQUIRES(fMutex);
    void endUse(PCorePlugin& ioRecord) noexcept;
    void logAutoStart(int iResult) const;

    // PCoreUnload.cpp
    int nl_unloadPlugin(IPlugin* iPlugin, PPtr<PLibrary>& oLibrary) IXLA_REQUIRES(fMutex);
    /// Destroys a record that is in no table any more. The caller closes its library, after the
    /// mutex.
    void nl_destroy(PCorePlugin& iRecord, PPtr<PLibrary>& oLibrary) IXLA_REQUIRES(fMutex);

    // PCoreStop.cpp
    static void* thNotifyCoreExit(void* iCore);
    void writeMemory() const;
    int readExitTimeout();
    int announceExit(int iTimeout);
    int startNotifier(PThread& ioNotifier);
    void join(PThread& ioNotifier) const;
    int nl_awaitNotifier(int iTimeout) IXLA_REQUIRES(fMutex);
    bool nl_partFromNotifier() IXLA_REQUIRES(fMutex);
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

    PCoreLog fLog; ///< first, because whatever goes before it may write
    PMutex fMutex;
    PConditionalVar fCondVar;
    std::vector<PCorePlugin*> fCorePlugins; ///< owned; built-in ones first
    /// Null for an interface of a plugin that was unloaded.
    std::unordered_map<PString, std::atomic<PCorePlugin*>, PTextHash, PTextEqual> fInterfaces;
    unsigned int fInitCount IXLA_GUARDED_BY(fMutex); ///< initialisations begun
    PInitWait* fFirstWait IXLA_GUARDED_BY(fMutex);   ///< those who wait for one
    std::atomic<bool> fStarted;
    PBaseptr<IConfigManager> fConfigManager;
    PBaseptr<IConfig> fConfig;
    PBaseptr<IEventDispatcher> fEventDispatcher;
    bool fNotifyExit IXLA_GUARDED_BY(fMutex);
    std::shared_ptr<PExitNotice> fExitNotice; ///< null until the stop

    // Of a core that is kept for the calls inside, all for good.
    bool fKept;
    PCallGate* fKeptGate;
    PCore* fNextKept;
};

#endif
