// SPDX-License-Identifier: MIT
#include "core/PStartArguments.h"

#include "Ixla.h"
#include "logger/PLogger.h"
#include "portinglayer/PUtils.h"

#include <cerrno>

namespace
{
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
    if (iKey.cmp(L"core.prs.file") == 0)
    {
        return _parsePath(iValue, fCorePrsFile);
    }
    if (iKey.cmp(L"core.log.file") == 0)
    {
        return _parsePath(iValue, fLogFile);
    }
    if (iKey.cmp(L"core.log.maxsize") == 0)
    {
        return _parseLimit(iLogger, iKey, iValue, fLogMaxSize);
    }
    if (iKey.cmp(L"core.log.parts") == 0)
    {
        return _parseLimit(iLogger, iKey, iValue, fLogParts);
    }
    if (iKey.cmp(L"core.log.level") == 0)
    {
        return _parseLevel(iLogger, iKey, iValue, fLogLevel);
    }
    if (iKey.cmp(L"core.log.enable") == 0)
    {
        return _parseEnable(iLogger, iKey, iValue, fLogEnable);
    }
    if (iKey.cmp(L"core.log.maxcount") == 0)
    {
        // Unlike the other numbers, a bad count does not fail the start: the log has no such limit.
        _parseLevel(iLogger, iKey, iValue, fLogMaxCount);
        return eIxlaOk;
    }
    if (iKey.cmp(L"core.plugins.dir") == 0)
    {
        return fPluginsDir.set(iValue) == 0 ? eIxlaOk : eIxlaInvalidArgument;
    }
    return eIxlaOk;
}
