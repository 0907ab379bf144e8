// SPDX-License-Identifier: MIT
#include "config/ConfigLines.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

namespace
{
bool _hasUmlaut(int iNumber)
{
    return iNumber % 16 == 15;
}

std::wstring _widened(const std::string& iText)
{
    return {iText.begin(), iText.end()};
}

std::string _padded(int iNumber)
{
    std::string digits = std::to_string(iNumber);
    digits.insert(0, 6 - digits.size(), '0');
    return digits;
}
} // namespace

std::string ConfigLines::key(int iNumber)
{
    return "service.limit." + _padded(iNumber);
}

std::string ConfigLines::value(int iNumber)
{
    return "requests " + _padded(iNumber) +
           (_hasUmlaut(iNumber) ? " f\xC3\xBCr alle" : " a second");
}

std::wstring ConfigLines::wideKey(int iNumber)
{
    return _widened(key(iNumber));
}

std::wstring ConfigLines::wideValue(int iNumber)
{
    return L"requests " + _widened(_padded(iNumber)) +
           (_hasUmlaut(iNumber) ? L" f\u00FCr alle" : L" a second");
}

std::string ConfigLines::file(int iCount, bool iSorted, const std::string& iPrefix)
{
    std::vector<int> numbers(static_cast<std::size_t>(iCount));
    std::iota(numbers.begin(), numbers.end(), 0);
    if (!iSorted)
    {
        std::shuffle(numbers.begin(), numbers.end(), std::minstd_rand(1));
    }
    std::string text;
    for (const int number : numbers)
    {
        text += iPrefix + key(number) + " = " + value(number) + '\n';
    }
    return text;
}
