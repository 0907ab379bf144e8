// SPDX-License-Identifier: MIT
// PConfigLog: the log of the configuration manager.
#ifndef IXLAL_PCONFIGLOG_H
#define IXLAL_PCONFIGLOG_H

#include "ILogger.h"
#include "PBaseptr.h"
#include "core/PServiceLog.h"

/// Writes to the plugins' log when it has a logger. Not synchronised: the manager guards it with
/// its lock.
class PConfigLog
{
public:
    bool nl_hasLogger() const noexcept
    {
        return static_cast<bool>(fLogger);
    }

    /// Shares iLogger unless there is a logger already.
    void nl_setLogger(const PBaseptr<ILogger>& iLogger)
    {
        if (!fLogger)
        {
            fLogger = iLogger;
        }
    }

    /// Writes a debug line, or nothing without a logger.
    template <class... TArgument>
    void nl_debug(const wchar_t* iFormat, TArgument... iArguments) const
    {
        if (fLogger)
        {
            fLogger->debug(0, iFormat, iArguments...);
        }
    }

    /// Writes an error line to the plugins' log, or to the core's log without a logger.
    template <class... TArgument>
    [[gnu::cold]] void nl_error(const wchar_t* iFormat, TArgument... iArguments) const noexcept
    {
        if (fLogger)
        {
            fLogger->error(0, iFormat, iArguments...);
        }
        else
        {
            logServiceError(iFormat, iArguments...);
        }
    }

    /// Writes an error line, or nothing without a logger.
    template <class... TArgument>
    [[gnu::cold]] void nl_pluginsError(const wchar_t* iFormat, TArgument... iArguments) const
    {
        if (fLogger)
        {
            fLogger->error(0, iFormat, iArguments...);
        }
    }

private:
    PBaseptr<ILogger> fLogger;
};

#endif
