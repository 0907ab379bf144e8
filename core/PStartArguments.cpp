// SPDX-License-Identifier: MIT
#include "core/PStartArguments.h"

#include "Ixla.h"
#include "logger/PLogger.h"
#include "portinglayer/PUtils.h"

#include <cerrno>
#include <cwchar>

namespace
{
/// Whether a key is iText. Most keys differ in their length, which is compared first.
template <unsigned int N>
bool _is(const PString& iKey, const wchar_t (&iText)[N])
{
    return iKey.len() == N - 1 && std::wmemcmp(iKey.ptr(), iText, N - 1) == 0;
}

int _refuse(PLogger* iLogger, const PString& iKey, const PString& iValue, int iError)
{
    PLogger::error(iLogger, 0, L"[startFlow] Failed parsing arg:[%ls], val:[%ls], err: %d",
                   iKey.ptr(), iValue.ptr(), iError);
    return eIxlaInvalidArgument;
}

int _parseLimit(PLogger* iLogger, const PString& iKey, const PString& iValue, int& oLimit)
{
    int limit = 0;
    const int result = PUtils::strToInt32(iValue, limit);
    if (result != 0 || limit < 0)
    {
        return _refuse(iLogger, iKey, iValue, result);
    }
    oLimit = limit;
    return eIxlaOk;
}

int _parseLevel(PLogger* iLogger, const PString& iKey, const PString& iValue, int& oLevel)
{
    const int result = PUtils::strToInt32(iValue, oLevel);
    return result == 0 ? eIxlaOk : _refuse(iLogger, iKey, iValue, result);
}

int _parseEnable(PLogger* iLogger, const PString& iKey, const PString& iValue, bool& oEnable)
{
    const int result = PUtils::strToBool(iValue, oEnable);
    return result == 0 ? eIxlaOk : _refuse(iLogger, iKey, iValue, result);
}

int _parsePath(const PString& iValue, PString& oPath)
{
    oPath = iValue;
    PUtils::fixFileSeparator(oPath);
    return eIxlaOk;
}
} // namespace

int PStartArguments::parse(const PString* iArgs, unsigned int iCount, PLogger* iLogger)
{
    PString key;
    PString value;
    for (unsigned int i = 0; i < iCount; ++i)
    {
        int result = PUtils::getKeyValue(iArgs[i], key, value, L'=');
        if (result == -ENOMEM)
        {
            return eIxlaNoMemory;
        }
        if (result != 0)
        {
            continue;
        }
        result = parseOne(key, value, iLogger);
        if (result != 0)
        {
            return result;
        }
    }
    return eIxlaOk;
}

int PStartArguments::parseOne(const PString& iKey, const PString& iValue, PLogger* iLogger)
{
    if (_is(iKey, L"core.prs.file"))
    {
        return _parsePath(iValue, fCorePrsFile);
    }
    if (_is(iKey, L"core.log.file"))
    {
        return _parsePath(iValue, fLogFile);
    }
    if (_is(iKey, L"core.log.maxsize"))
    {
        return _parseLimit(iLogger, iKey, iValue, fLogMaxSize);
    }
    if (_is(iKey, L"core.log.parts"))
    {
        return _parseLimit(iLogger, iKey, iValue, fLogParts);
    }
    if (_is(iKey, L"core.log.level"))
    {
        return _parseLevel(iLogger, iKey, iValue, fLogLevel);
    }
    if (_is(iKey, L"core.log.enable"))
    {
        return _parseEnable(iLogger, iKey, iValue, fLogEnable);
    }
    if (_is(iKey, L"core.log.maxcount"))
    {
        // Unlike the other numbers, a bad count does not fail the start: the log has no such limit.
        _parseLevel(iLogger, iKey, iValue, fLogMaxCount);
        return eIxlaOk;
    }
    if (_is(iKey, L"core.plugins.dir"))
    {
        return fPluginsDir.set(iValue) == 0 ? eIxlaOk : eIxlaInvalidArgument;
    }
    return eIxlaOk;
}
