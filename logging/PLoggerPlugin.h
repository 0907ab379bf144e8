// SPDX-License-Identifier: MIT
// PLoggerPlugin: the built-in plugin that offers the loggers.
#ifndef IXLAL_PLOGGERPLUGIN_H
#define IXLAL_PLOGGERPLUGIN_H

#include "IConfig.h"
#include "ILogger.h"
#include "IPlugin.h"
#include "PBaseptr.h"
#include "portinglayer/PCounterSync.h"
#include "portinglayer/PMutex.h"
#include "portinglayer/PString.h"
#include "portinglayer/PThreadSafety.h"

#include <map>
#include <memory>

class PGate;

/// Offers kIxlaLoggerId: the plugins' shared log, and other logs in the same directory by name. The
/// cache holds a named logger while a caller has the holder that getLogger filled, or a copy of it;
/// the next getLogger removes loggers that no caller holds.
///
/// Loggers may outlive the plugin. The destructor waits for calls that came through a logger,
/// refuses further ones, and then releases the cache and the shared log.
class PLoggerPlugin final : public IPlugin
{
public:
    PLoggerPlugin();

    PLoggerPlugin(const PLoggerPlugin&) = delete;
    PLoggerPlugin& operator=(const PLoggerPlugin&) = delete;

    int incRef() noexcept override;
    int decRef() noexcept override;

    /// Reads the log settings of kIxlaGlobalConfigId and opens the shared log. Returns 0, -501, or
    /// the code of getting the configuration manager, the configuration or the log directory.
    int init() noexcept override;

    /// As IPlugin. For lack of memory returns null and leaves oCount unchanged.
    PString* getInterfaces(unsigned int& oCount) noexcept override;

    /// As IPlugin. Before a successful init returns 0 with a null oInstance.
    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept override;

    /// As ILogger::getLogger. [any thread]
    int getLogger(const PLiteral& iName, PBaseptr<ILogger>& oLogger) noexcept;

    /// The gate that loggers enter before they use the plugin; empty before init.
    const std::shared_ptr<PGate>& gate() const noexcept
    {
        return fGate;
    }

private:
    typedef std::map<PString, PBaseptr<ILogger>, PLiteralLess> Loggers;

    // Private, because only the last decRef destroys the plugin.
    ~PLoggerPlugin();

    int readSettings(PString& oDefaultFile);
    int createDefaultLogger();
    PBaseptr<ILogger> createLogger(const PLiteral& iFile);
    int findLogger(const PLiteral& iName, PBaseptr<ILogger>& ioLogger);
    void nl_fill(const PLiteral& iName, PBaseptr<ILogger>& oLogger, PBaseptr<ILogger>& oPrevious)
        IXLA_REQUIRES(fMutex);
    void nl_purge(Loggers& oIdle) IXLA_REQUIRES(fMutex);

    static bool _holds(const Loggers& iLoggers, const ILogger* iLogger);
    static void _readLimit(IConfig& iConfig, const PLiteral& iKey, int& ioValue);

    // init writes the settings; they are constant afterwards.
    PCounterSync fRefCount;
    PBaseptr<IBase> fDefaultLogger;
    Loggers fLoggers IXLA_GUARDED_BY(fMutex);
    PMutex fMutex;
    PLiteral fLogTag;
    PString fLogDir;
    int fMaxSize;
    int fParts;
    int fLevel;
    int fMaxCount;
    bool fEnable;
    std::shared_ptr<PGate> fGate;
};

#endif
