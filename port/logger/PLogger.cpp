// SPDX-License-Identifier: MIT
#include "PLogger.h"

#include "PLogFile.h"
#include "PLogPath.h"
#include "portinglayer/PCancelGuard.h"

#include <cerrno>
#include <climits>
#include <new>

namespace
{
constexpr unsigned int kDefaultDumpWidth = 16;

/// Restores errno, and defers cancellation of the calling thread while it holds a log's lock.
class Undisturbed
{
public:
    Undisturbed() noexcept : fErrno(errno)
    {
    }

    ~Undisturbed()
    {
        errno = fErrno;
    }

    Undisturbed(const Undisturbed&) = delete;
    Undisturbed& operator=(const Undisturbed&) = delete;

private:
    int fErrno;
    PCancelGuard fGuard;
};

bool _isLogged(const PLogger* iLogger, int iLevel)
{
    return iLogger && iLogger->isLogged(iLevel);
}

unsigned int _limit(int iLimit)
{
    return iLimit > 0 ? static_cast<unsigned int>(iLimit) : 0;
}
} // namespace

PLogger::PLogger() noexcept
    : fFile(nullptr), fThreshold(INT_MIN), fLevel(0), fPrint(false), fInitialised(false)
{
}

PLogger::~PLogger()
{
    const Undisturbed undisturbed;
    delete fFile;
}

int PLogger::init(const PLiteral& iFile, const PLiteral& iTag, bool iNew, unsigned int iMaxSize,
                  int iParts, int iMaxCount, bool iEnable) noexcept
{
    if (fInitialised)
    {
        return -EBUSY;
    }
    if (!iEnable)
    {
        fInitialised = true;
        return 0;
    }
    const Undisturbed undisturbed;
    try
    {
        std::string path;
        const int result = PLogPath::resolve(iFile, path);
        if (result != 0)
        {
            return result;
        }
        fFile =
            new PLogFile(path, iTag, iNew, PLogLimits{iMaxSize, _limit(iMaxCount), _limit(iParts)});
    }
    catch (const std::bad_alloc&)
    {
        return -ENOMEM;
    }
    fInitialised = true;
    __atomic_store_n(&fThreshold, __atomic_load_n(&fLevel, __ATOMIC_RELAXED), __ATOMIC_RELAXED);
    return fFile->open();
}

int PLogger::setLevel(int iLevel) noexcept
{
    __atomic_store_n(&fLevel, iLevel, __ATOMIC_RELAXED);
    if (fFile)
    {
        __atomic_store_n(&fThreshold, iLevel, __ATOMIC_RELAXED);
    }
    return 0;
}

int PLogger::setPrintOnConsole(bool iPrint) noexcept
{
    __atomic_store_n(&fPrint, iPrint, __ATOMIC_RELAXED);
    return 0;
}

int PLogger::info(PLogger* iLogger, int iLevel, const wchar_t* iFormat, ...) noexcept
{
    if (!_isLogged(iLogger, iLevel))
    {
        return 0;
    }
    va_list args;
    va_start(args, iFormat);
    const int result = iLogger->write('I', false, iFormat, args);
    va_end(args);
    return result;
}

int PLogger::error(PLogger* iLogger, int iLevel, const wchar_t* iFormat, ...) noexcept
{
    va_list args;
    va_start(args, iFormat);
    const int result = error(iLogger, iLevel, iFormat, args);
    va_end(args);
    return result;
}

int PLogger::debug(PLogger* iLogger, int iLevel, const wchar_t* iFormat, ...) noexcept
{
    if (!_isLogged(iLogger, iLevel))
    {
        return 0;
    }
    va_list args;
    va_start(args, iFormat);
    const int result = iLogger->write('D', false, iFormat, args);
    va_end(args);
    return result;
}

int PLogger::info(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs) noexcept
{
    return _isLogged(iLogger, iLevel) ? iLogger->write('I', false, iFormat, iArgs) : 0;
}

int PLogger::error(PLogger* iLogger, int, const wchar_t* iFormat, va_list iArgs) noexcept
{
    return iLogger ? iLogger->write('E', false, iFormat, iArgs) : 0;
}

int PLogger::debug(PLogger* iLogger, int iLevel, const wchar_t* iFormat, va_list iArgs) noexcept
{
    return _isLogged(iLogger, iLevel) ? iLogger->write('D', false, iFormat, iArgs) : 0;
}

int PLogger::showMsgBox(PLogger* iLogger, int iLevel, const wchar_t* iFormat,
                        va_list iArgs) noexcept
{
    return _isLogged(iLogger, iLevel) ? iLogger->write('I', true, iFormat, iArgs) : 0;
}

int PLogger::dumpHex(PLogger* iLogger, int iLevel, const void* iData, unsigned int iSize,
                     unsigned int iWidth) noexcept
{
    if (!_isLogged(iLogger, iLevel) || !iLogger->fFile)
    {
        return 0;
    }
    if (!iData && iSize > 0)
    {
        return -EINVAL;
    }
    if (const int refused = iLogger->fFile->refused())
    {
        return refused;
    }
    const Undisturbed undisturbed;
    const bool print = __atomic_load_n(&iLogger->fPrint, __ATOMIC_RELAXED);
    return iLogger->fFile->dump(static_cast<const unsigned char*>(iData), iSize,
                                iWidth > 0 ? iWidth : kDefaultDumpWidth, PLogEcho{print, false});
}

int PLogger::write(char iKind, bool iShowText, const wchar_t* iFormat, va_list iArgs) noexcept
{
    if (!fFile)
    {
        return 0;
    }
    if (const int refused = fFile->refused())
    {
        return refused;
    }
    const Undisturbed undisturbed;
    const bool print = __atomic_load_n(&fPrint, __ATOMIC_RELAXED);
    return fFile->write(iKind, iFormat, iArgs, PLogEcho{print, iShowText});
}
