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

/// Forwards every message to its own PLogger. It may outlive the plugin that created it; it then
/// still writes its file, but opens no more loggers.
class PLoggerImpl : public ILogger
{
public:
    /// Opens the log with PLogger::init. A log that cannot be opened or allocated is no error here.
    /// iPlugin is borrowed and may be null.
    PLoggerImpl(const PLiteral& iFile, const PLiteral& iTag, unsigned int iMaxSize, int iParts,
                int iMaxCount, bool iEnable, PLoggerPlugin* iPlugin) noexcept;

    PLoggerImpl(const PLoggerImpl&) = delete;
    PLoggerImpl& operator=(const PLoggerImpl&) = delete;

    int incRef() noexcept override;
    int decRef() noexcept override;
    int getLogger(const PLiteral& iName, PBaseptr<ILogger>& oLogger) noexcept override;

    ///@{
    /// Returns 0, or -501 when the PLogger could not be allocated.
    int setLevel(int iLevel) noexcept override;
    int setPrintOnConsole(bool iPrint) noexcept override;
    ///@}

    int info(int iLevel, const wchar_t* iFormat, ...) noexcept override;
    int error(int iLevel, const wchar_t* iFormat, ...) noexcept override;
    int debug(int iLevel, const wchar_t* iFormat, ...) noexcept override;

    /// Returns -502 for a negative iSize.
    int dumpHex(int iLevel, const void* iData, int iSize, unsigned int iWidth) noexcept override;

    int showMsgBox(int iLevel, const wchar_t* iFormat, ...) noexcept override;

    /// The log file, for callers that ask often whether a level is logged; null when it could not
    /// be allocated. Borrowed from this object.
    const PLogger* file() const noexcept
    {
        return fLogger;
    }

    virtual ~PLoggerImpl();

private:
    PCounterSync fRefCount;
    PLogger* fLogger;                   ///< owned; null when it could not be allocated
    PLoggerPlugin* const fPlugin;       ///< borrowed; used inside its gate only
    const std::shared_ptr<PGate> fGate; ///< empty without a plugin
};

#endif
