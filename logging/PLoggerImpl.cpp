// SPDX-License-Identifier: MIT
#include "logging/PLoggerImpl.h"

#include "Ixla.h"
#include "logger/PLogger.h"
#include "logging/PGate.h"
#include "logging/PLoggerPlugin.h"

#include <cstdarg>
#include <new>

namespace
{
/// Checked before the arguments are read, so that a filtered line costs little.
bool _isLogged(const PLogger* iLogger, int iLevel)
{
    return iLogger && iLogger->isLogged(iLevel);
}

// Not inlined, because the caller would set up the call of another library for filtered lines, too.
[[gnu::noinline]] int _info(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs)
{
    return PLogger::info(iLogger, iLevel, iFormat, iArgs);
}

[[gnu::noinline]] int _debug(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs)
{
    return PLogger::debug(iLogger, iLevel, iFormat, iArgs);
}
} // namespace

PLoggerImpl::PLoggerImpl(const PLiteral& iFile, const PLiteral& iTag, unsigned int iMaxSize,
                         int iParts, int iMaxCount, bool iEnable, PLoggerPlugin* iPlugin) noexcept
    : fRefCount(0),
      fLogger(new (std::nothrow) PLogger),
      fPlugin(iPlugin),
      fGate(iPlugin ? iPlugin->gate() : std::shared_ptr<PGate>())
{
    if (fLogger)
    {
        // A log that cannot be opened now tries again at every line.
        static_cast<void>(fLogger->init(iFile, iTag, false, iMaxSize, iParts, iMaxCount, iEnable));
    }
}

PLoggerImpl::~PLoggerImpl()
{
    delete fLogger;
    fLogger = nullptr;
}

int PLoggerImpl::incRef() noexcept
{
    return ++fRefCount;
}

int PLoggerImpl::decRef() noexcept
{
    const int count = fRefCount.change(-1);
    if (count == 0)
    {
        delete this;
    }
    return count;
}

// Filling oLogger may destroy this logger, so no member is used after the call.
int PLoggerImpl::getLogger(const PLiteral& iName, PBaseptr<ILogger>& oLogger) noexcept
{
    const std::shared_ptr<PGate> gate = fGate;
    if (!gate || !gate->enter())
    {
        return eIxlaNoInstance;
    }
    const int result = fPlugin->getLogger(iName, oLogger);
    gate->leave();
    return result;
}

int PLoggerImpl::setLevel(int iLevel) noexcept
{
    return fLogger ? fLogger->setLevel(iLevel) : eIxlaNoMemory;
}

int PLoggerImpl::setPrintOnConsole(bool iPrint) noexcept
{
    return fLogger ? fLogger->setPrintOnConsole(iPrint) : eIxlaNoMemory;
}

int PLoggerImpl::info(int iLevel, const wchar_t* iFormat, ...) noexcept
{
    if (!_isLogged(fLogger, iLevel))
    {
        return 0;
    }
    va_list args;
    va_start(args, iFormat);
    const int result = _info(fLogger, iLevel, iFormat, args);
    va_end(args);
    return result;
}

int PLoggerImpl::error(int iLevel, const wchar_t* iFormat, ...) noexcept
{
    va_list args;
    va_start(args, iFormat);
    const int result = PLogger::error(fLogger, iLevel, iFormat, args);
    va_end(args);
    return result;
}

int PLoggerImpl::debug(int iLevel, const wchar_t* iFormat, ...) noexcept
{
    if (!_isLogged(fLogger, iLevel))
    {
        return 0;
    }
    va_list args;
    va_start(args, iFormat);
    const int result = _debug(fLogger, iLevel, iFormat, args);
    va_end(args);
    return result;
}

int PLoggerImpl::dumpHex(int iLevel, const void* iData, int iSize, unsigned int iWidth) noexcept
{
    if (iSize < 0)
    {
        return eIxlaInvalidArgument;
    }
    return PLogger::dumpHex(fLogger, iLevel, iData, static_cast<unsigned int>(iSize), iWidth);
}

int PLoggerImpl::showMsgBox(int iLevel, const wchar_t* iFormat, ...) noexcept
{
    if (!_isLogged(fLogger, iLevel))
    {
        return 0;
    }
    va_list args;
    va_start(args, iFormat);
    const int result = PLogger::showMsgBox(fLogger, iLevel, iFormat, args);
    va_end(args);
    return result;
}
