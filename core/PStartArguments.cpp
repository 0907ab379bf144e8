// SPDX-License-Identifier: MIT
#include "core/PStartArguments.h"

#include "Ixla.h"
#include "logger/PLogger.h"
#include "portinglayer/PUtils.h"

#include <cwchar>

namespace
{
/// Whether a key is iText. Most keys differ in their length, which is compared first.
template <unsigned int N>
bool _is(const PSpan& iKey, const wchar_t (&iText)[N])
{
    return iKey.len == N - 1 && std::wmemcmp(iKey.text, iText, N - 1) == 0;
}

PSpan _between(const wchar_t* iBegin, const wchar_t* iEnd)
{
    return PBlank::trimmed(iBegin, static_cast<unsigned int>(iEnd - iBegin));
}

PString _copied(const PSpan& iText)
{
    return PString(iText.text, iText.len);
}

int _refuse(PLogger* iLogger, const PSpan& iKey, const PString& iValue, int iError)
{
    const PString key = _copied(iKey);
    PLogger::error(iLogger, 0, L"[startFlow] Failed parsing arg:[%ls], val:[%ls], err: %d",
                   key.ptr(), iValue.ptr(), iError);
    return eIxlaInvalidArgument;
}

int _parseLimit(PLogger* iLogger, const PSpan& iKey, const PSpan& iValue, int& oLimit)
{
    const PString value = _copied(iValue);
    int limit = 0;
    const int result = PUtils::strToInt32(value, limit);
    if (result != 0 || limit < 0)
    {
        return _refuse(iLogger, iKey, value, result);
    }
    oLimit = limit;
    return eIxlaOk;
}

int _parseLevel(PLogger* iLogger, const PSpan& iKey, const PSpan& iValue, int& oLevel)
{
    const PString value = _copied(iValue);
    const int result = PUtils::strToInt32(value, oLevel);
    return result == 0 ? eIxlaOk : _refuse(iLogger, iKey, value, result);
}

int _parseEnable(PLogger* iLogger, const PSpan& iKey, const PSpan& iValue, bool& oEnable)
{
    const PString value = _copied(iValue);
    const int result = PUtils::strToBool(value, oEnable);
    return result == 0 ? eIxlaOk : _refuse(iLogger, iKey, value, result);
}

int _parsePath(const PSpan& iValue, PString& oPath)
{
    oPath = _copied(iValue);
    PUtils::fixFileSeparator(oPath);
    return eIxlaOk;
}
} // namespace

int PStartArguments::parse(const PString* iArgs, unsigned int iCount, PLogger* iLogger)
{
    int result = eIxlaOk;
    for (unsigned int i = 0; i < iCount && result == 0; ++i)
    {
        const wchar_t* const begin = iArgs[i].ptr();
        const wchar_t* const end = begin + iArgs[i].len();
        const wchar_t* const separator = std::wmemchr(begin, L'=', iArgs[i].len());
        if (separator)
        {
            result = parseOne(_between(begin, separator), _between(separator + 1, end), iLogger);
        }
    }
    return result;
}

int PStartArguments::parseOne(const PSpan& iKey, const PSpan& iValue, PLogger* iLogger)
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
        return fPluginsDir.set(_copied(iValue)) == 0 ? eIxlaOk : eIxlaInvalidArgument;
    }
    return eIxlaOk;
}
