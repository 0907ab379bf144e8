// SPDX-License-Identifier: MIT
#include "logging/PLoggerPlugin.h"

#include "IConfigManager.h"
#include "Ixla.h"
#include "PGuarded.h"
#include "core/PHeldService.h"
#include "logging/PGate.h"
#include "logging/PLoggerImpl.h"
#include "portinglayer/PLockGuard.h"

#include <new>

namespace
{
constexpr wchar_t kLogTag[] = L"pgs";
constexpr wchar_t kDefaultFile[] = L"ixlaplugins.log";
constexpr wchar_t kDirKey[] = L"core.plugins.log.dir";
constexpr wchar_t kMaxSizeKey[] = L"core.plugins.log.maxsize";
constexpr wchar_t kPartsKey[] = L"core.plugins.log.parts";
constexpr wchar_t kLevelKey[] = L"core.plugins.log.level";
constexpr wchar_t kEnableKey[] = L"core.plugins.log.enable";
constexpr wchar_t kMaxCountKey[] = L"core.plugins.log.maxcount";

/// Loads the settings that the core shares with all plugins.
int _loadGlobalConfig(PBaseptr<IConfig>& oConfig)
{
    const PHeldService<IConfigManager> manager(kIxlaConfigManagerId);
    return manager.result() != eIxlaOk ? manager.result()
                                       : manager.get()->loadByID(kIxlaGlobalConfigId, oConfig);
}
} // namespace

// Without its mutex the plugin still opens the shared log; getLogger reports the failure.
PLoggerPlugin::PLoggerPlugin()
    : fRefCount(0), fMaxSize(0), fParts(0), fLevel(0), fMaxCount(0), fEnable(false)
{
    static_cast<void>(fMutex.init(true));
}

PLoggerPlugin::~PLoggerPlugin()
{
    if (fGate)
    {
        fGate->close();
    }
    // No thread is inside, so it can only fail for a mutex that was never opened.
    static_cast<void>(fMutex.close());
}

int PLoggerPlugin::incRef() noexcept
{
    return ++fRefCount;
}

int PLoggerPlugin::decRef() noexcept
{
    const int count = fRefCount.change(-1);
    if (count == 0)
    {
        delete this;
    }
    return count;
}

int PLoggerPlugin::init() noexcept
{
    return ixlaGuarded([this] { return createDefaultLogger(); });
}

int PLoggerPlugin::createDefaultLogger()
{
    PString file;
    const int result = readSettings(file);
    if (result != eIxlaOk)
    {
        return result;
    }
    if (!fGate)
    {
        // A second init keeps the gate, because existing loggers still use it.
        fGate = std::make_shared<PGate>();
    }
    const PBaseptr<ILogger> logger = createLogger(file);
    fDefaultLogger = logger.get();
    return eIxlaOk;
}

int PLoggerPlugin::readSettings(PString& oDefaultFile)
{
    PBaseptr<IConfig> config;
    int result = _loadGlobalConfig(config);
    if (result != eIxlaOk)
    {
        return result;
    }
    PString dir;
    result = config->getString(kDirKey, dir);
    if (result != eIxlaOk)
    {
        return result;
    }
    if (!dir.endsWith(L"/"))
    {
        dir += L"/";
    }
    fLogDir = dir;
    fLogTag = kLogTag;
    dir += kDefaultFile;
    _readLimit(*config, kMaxSizeKey, fMaxSize);
    _readLimit(*config, kPartsKey, fParts);
    _readLimit(*config, kLevelKey, fLevel);
    bool enable = false;
    fEnable = config->getBool(kEnableKey, enable) == eIxlaOk ? enable : fEnable;
    _readLimit(*config, kMaxCountKey, fMaxCount);
    oDefaultFile = dir;
    return eIxlaOk;
}

void PLoggerPlugin::_readLimit(IConfig& iConfig, const PLiteral& iKey, int& ioValue)
{
    int value = 0;
    if (iConfig.getInt32(iKey, value) == eIxlaOk && value >= 0)
    {
        ioValue = value;
    }
}

PBaseptr<ILogger> PLoggerPlugin::createLogger(const PLiteral& iFile)
{
    PBaseptr<ILogger> logger = PBaseptr<ILogger>::adopt(new PLoggerImpl(
        iFile, fLogTag, static_cast<unsigned int>(fMaxSize), fParts, fMaxCount, fEnable, this));
    // Fails only without a PLogger, and then no level is needed.
    static_cast<void>(logger->setLevel(fLevel));
    return logger;
}

PString* PLoggerPlugin::getInterfaces(unsigned int& oCount) noexcept
{
    std::unique_ptr<PString[]> interfaces;
    const int result = ixlaGuarded(
        [&interfaces]
        {
            interfaces.reset(new PString[1]);
            interfaces[0] = kIxlaLoggerId;
            return eIxlaOk;
        });
    if (result != eIxlaOk)
    {
        return nullptr;
    }
    oCount = 1;
    return interfaces.release();
}

int PLoggerPlugin::getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept
{
    if (iInterfaceId.cmp(kIxlaLoggerId) != 0)
    {
        oInstance = nullptr;
        return eIxlaUnknownInterface;
    }
    oInstance = fDefaultLogger.get();
    return eIxlaOk;
}

int PLoggerPlugin::getLogger(const PLiteral& iName, PBaseptr<ILogger>& oLogger) noexcept
{
    if (!fEnable)
    {
        return eIxlaOk;
    }
    return ixlaGuarded([this, &iName, &oLogger] { return findLogger(iName, oLogger); });
}

int PLoggerPlugin::findLogger(const PLiteral& iName, PBaseptr<ILogger>& ioLogger)
{
    // Declared before the lock, so that possible last references are released without it.
    Loggers idle;
    PBaseptr<ILogger> previous;
    PLockGuard lock(fMutex);
    if (lock.result() != 0)
    {
        return lock.result();
    }
    int result = eIxlaOk;
    try
    {
        nl_fill(iName, ioLogger, previous);
    }
    catch (const std::bad_alloc&)
    {
        result = eIxlaNoMemory;
    }
    nl_purge(idle);
    const int unlocked = lock.unlock();
    // An exception of the object that the caller held before does not matter: ioLogger is set.
    static_cast<void>(ixlaReleased(previous));
    return unlocked != 0 ? unlocked : result;
}

/// Sets oLogger to the logger iName. Moves the previous object to oPrevious, unless the cache holds
/// that, too: another holder would keep nl_purge from removing it.
void PLoggerPlugin::nl_fill(const PLiteral& iName, PBaseptr<ILogger>& oLogger,
                            PBaseptr<ILogger>& oPrevious)
{
    const Loggers::iterator found = fLoggers.find(iName);
    PBaseptr<ILogger> logger;
    if (found != fLoggers.end())
    {
        logger = found->second;
    }
    else
    {
        PString file(fLogDir);
        file += iName;
        logger = createLogger(file);
        fLoggers.emplace(PString(iName), logger);
    }
    oPrevious = oLogger;
    oLogger = logger;
    if (_holds(fLoggers, oPrevious.get()))
    {
        oPrevious.clear();
    }
}

/// Moves the loggers that only the cache holds to oIdle.
void PLoggerPlugin::nl_purge(Loggers& oIdle)
{
    constexpr unsigned int kCacheAndCopy = 2;
    for (Loggers::iterator entry = fLoggers.begin(); entry != fLoggers.end();)
    {
        const Loggers::iterator current = entry++;
        const PBaseptr<ILogger> copy(current->second);
        if (copy.holders() == kCacheAndCopy)
        {
            oIdle.insert(fLoggers.extract(current));
        }
    }
}

bool PLoggerPlugin::_holds(const Loggers& iLoggers, const ILogger* iLogger)
{
    for (const Loggers::value_type& entry : iLoggers)
    {
        if (entry.second.get() == iLogger)
        {
            return iLogger != nullptr;
        }
    }
    return false;
}
