// SPDX-License-Identifier: MIT
#include "fuzz/StartModel.h"

#include "fuzz/ConversionModel.h"
#include "fuzz/LineModel.h"

#include <algorithm>

namespace
{
constexpr int kBadValue = -502;

bool _takeNumber(std::wstring_view iValue, bool iIsLimit, int& oNumber)
{
    int number = 0;
    const bool taken = ConversionModel::toNumber(std::wstring(iValue), number) == 0;
    if (!taken || (iIsLimit && number < 0))
    {
        return false;
    }
    oNumber = number;
    return true;
}

bool _takePath(std::wstring_view iValue, std::wstring& oPath)
{
    oPath = iValue;
    std::replace(oPath.begin(), oPath.end(), L'\\', L'/');
    return true;
}
} // namespace

int StartModel::parse(const std::vector<std::wstring>& iArguments)
{
    for (const std::wstring_view argument : iArguments)
    {
        const std::size_t equals = argument.find(L'=');
        if (equals != std::wstring_view::npos &&
            !take(LineModel::trimmed(argument.substr(0, equals)),
                  LineModel::trimmed(argument.substr(equals + 1))))
        {
            return kBadValue;
        }
    }
    return 0;
}

bool StartModel::take(std::wstring_view iKey, std::wstring_view iValue)
{
    if (iKey == L"core.log.enable")
    {
        return ConversionModel::toBool(std::wstring(iValue), logEnable) == 0;
    }
    if (iKey == L"core.log.level")
    {
        return _takeNumber(iValue, false, logLevel);
    }
    if (iKey == L"core.log.maxcount")
    {
        _takeNumber(iValue, false, logMaxCount);
        return true;
    }
    if (iKey == L"core.log.maxsize")
    {
        return _takeNumber(iValue, true, logMaxSize);
    }
    if (iKey == L"core.log.parts")
    {
        return _takeNumber(iValue, true, logParts);
    }
    if (iKey == L"core.plugins.dir")
    {
        pluginsDir = iValue;
    }
    if (iKey == L"core.prs.file")
    {
        return _takePath(iValue, corePrsFile);
    }
    return iKey != L"core.log.file" || _takePath(iValue, logFile);
}
