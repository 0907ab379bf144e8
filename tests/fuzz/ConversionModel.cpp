// SPDX-License-Identifier: MIT
#include "fuzz/ConversionModel.h"

#include "fuzz/LineModel.h"

#include <set>

namespace
{
/// Digits without leading zeros, which can be compared as numbers.
bool _isAbove(const std::wstring& iDigits, const std::wstring& iLimit)
{
    return iDigits.size() != iLimit.size() ? iDigits.size() > iLimit.size() : iDigits > iLimit;
}
} // namespace

int ConversionModel::toMagnitude(const std::wstring& iText, unsigned long long iMost,
                                 unsigned long long iMostNegative, bool& oNegative,
                                 unsigned long long& oMagnitude)
{
    std::wstring digits(LineModel::trimmed(iText));
    oNegative = digits.starts_with(L'-');
    if (oNegative || digits.starts_with(L'+'))
    {
        digits.erase(0, 1);
    }
    if (digits.empty() || digits.find_first_not_of(L"0123456789") != std::wstring::npos)
    {
        return -22;
    }
    digits.erase(0, digits.find_first_not_of(L'0'));
    if (_isAbove(digits, iMost == 0 ? L"" : std::to_wstring(iMost)) && !oNegative)
    {
        return -34;
    }
    if (_isAbove(digits, iMostNegative == 0 ? L"" : std::to_wstring(iMostNegative)) && oNegative)
    {
        return -34;
    }
    oMagnitude = digits.empty() ? 0 : std::stoull(digits);
    return 0;
}

int ConversionModel::toBool(const std::wstring& iText, bool& oValue)
{
    static const std::set<std::wstring> sTrue = {L"true", L"yes", L"on", L"1"};
    static const std::set<std::wstring> sFalse = {L"false", L"no", L"off", L"0"};
    std::wstring word(LineModel::trimmed(iText));
    for (wchar_t& character : word)
    {
        character = character >= L'A' && character <= L'Z' ? character + 32 : character;
    }
    if (sTrue.count(word) + sFalse.count(word) == 0)
    {
        return -22;
    }
    oValue = sTrue.count(word) > 0;
    return 0;
}

int ConversionModel::toBytes(const std::wstring& iText, std::string& oBytes)
{
    const std::wstring digits(LineModel::trimmed(iText));
    if (digits.size() % 2 != 0 ||
        digits.find_first_not_of(L"0123456789abcdefABCDEF") != std::wstring::npos)
    {
        return -22;
    }
    oBytes.clear();
    for (std::size_t i = 0; i < digits.size(); i += 2)
    {
        oBytes += static_cast<char>(std::stoul(digits.substr(i, 2), nullptr, 16));
    }
    return 0;
}
