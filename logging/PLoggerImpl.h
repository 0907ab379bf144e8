// SPDX-License-Identifier: MIT
// PLoggerImpl: one log file of the plugins.
#ifndef IXLAL_PLOGGERIMPL_H
#define IXLAL_PLOGGERIMPL_H

#include "ILogger.h"
#include "portinglayer/PCounterSync.h"

#include <memory>

class PGate;
class PLogger;
class PLoggerPlugin;

/// Forwards every message to its own PLogger. May outlive the plugin that made it: it then goes
/// on writing its file, but hands out no further loggers.
class PLoggerImpl : public ILogger
{
public:
    /// Opens the log with PLogger::init; a log that could not be opened or allocated is no
    /// failure here. iPlugin may be null.
    PLoggerImpl(const PLiteral& iFile, const PLiteral& iTag, unsigned int iMaxSize, int iParts,
                int iMaxCount, bool iEnable, PLoggerPlugin* iPlugin) noexcept;

    PLoggerImpl(const PLoggerImpl&) = delete;
    PLoggerImpl& operator=(const PLoggerImpl&) = delete;

    int incRef() noexcept override;
    int decRef() noexcept override;
    int getLogger(const PLiteral& iName, PBaseptr<ILogger>& oLogger) noexcept override;

    /// Return 0, or -501 when the PLogger could not be allocated.
    int setLevel(int iLevel) noexcept override;
    int setPrintOnConsole(bool iPrint) noexcept override;

    int info(int iLevel, const wchar_t* iFormat, ...) noexcept override;
    int error(int iLevel, const wchar_t* iFormat, ...) noexcept override;
    int debug(int iLevel, const wchar_t* iFormat, ...) noexcept override;

    /// -502 for a negative iSize.
    int dumpHex(int iLevel, const void* iData, int iSize, unsigned int iWidth) noexcept override;

    int showMsgBox(int iLevel, const wchar_t* iFormat, ...) noexcept override;

    virtual ~PLoggerImpl();

private:
    PCounterSync fRefCount;
    PLogger* fLogger;                   ///< owned; null when it could not be allocated
    PLoggerPlugin* const fPlugin;       ///< not owned; only touched inside its gate
    const std::shared_ptr<PGate> fGate; ///< empty without a plugin
};

#endif
