// SPDX-License-Identifier: MIT
#include "PLogSpec.h"

#include <cwchar>

namespace
{
/// All characters between the percent sign and the kind of a conversion, in the C library's
/// formats.
constexpr wchar_t kBeforeKind[] = L"-+ #0'I123456789.*$hlLqjzZtw";
} // namespace

const wchar_t* PLogSpec::readFlags(const wchar_t* iAt) noexcept
{
    while (readFlag(*iAt))
    {
        ++iAt;
    }
    return iAt;
}

bool PLogSpec::readFlag(wchar_t iFlag) noexcept
{
    switch (iFlag)
    {
    case L'-':
        return left = true;
    case L'+':
        return plus = true;
    case L' ':
        return blank = true;
    case L'#':
        return alternate = true;
    case L'0':
        return zero = true;
    default:
        return false;
    }
}

/// Reads length and kind.
const wchar_t* PLogSpec::readLength(const wchar_t* iAt) noexcept
{
    const wchar_t first = *iAt;
    const bool isDoubled = (first == L'h' || first == L'l') && iAt[1] == first;
    switch (first)
    {
    case L'h':
        length = isDoubled ? eChar : eShort;
        break;
    case L'l':
        length = isDoubled ? eLongLong : eLong;
        break;
    case L'j':
        length = eMax;
        break;
    case L'z':
        length = eSize;
        break;
    case L't':
        length = eDifference;
        break;
    case L'L':
        length = eLongDouble;
        break;
    default:
        break;
    }
    iAt += length == eInt ? 0 : isDoubled ? 2 : 1;
    kind = *iAt;
    return kind == L'\0' ? iAt : iAt + 1;
}

bool PLogSpec::hasCount(const wchar_t* iFormat) noexcept
{
    for (const wchar_t* at = std::wcschr(iFormat, L'%'); at; at = std::wcschr(at, L'%'))
    {
        ++at;
        at += std::wcsspn(at, kBeforeKind);
        if (*at == L'n')
        {
            return true;
        }
        at += *at == L'\0' ? 0 : 1;
    }
    return false;
}
