// SPDX-License-Identifier: MIT
#include "PLiteral.h"

#include "PBlank.h"
#include "PErrno.h"
#include "PString.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

namespace
{
unsigned int _length(const wchar_t* iText, unsigned int iLen) noexcept
{
    if (!iText)
    {
        return 0;
    }
    return iLen != ~0u ? iLen : static_cast<unsigned int>(std::wcslen(iText));
}

int _compare(const wchar_t* iLeft, unsigned int iLeftLen, const wchar_t* iRight,
             unsigned int iRightLen) noexcept
{
    const unsigned int common = std::min(iLeftLen, iRightLen);
    const int order = common > 0 ? std::wmemcmp(iLeft, iRight, common) : 0;
    if (order != 0)
    {
        return order;
    }
    return (iLeftLen > iRightLen) - (iLeftLen < iRightLen);
}

wchar_t _folded(wchar_t iChar) noexcept
{
    return iChar >= L'A' && iChar <= L'Z' ? iChar - L'A' + L'a' : iChar;
}

bool _equal(const wchar_t* iLeft, const wchar_t* iRight, unsigned int iLen,
            bool iIgnoreCase) noexcept
{
    if (!iIgnoreCase)
    {
        return iLen == 0 || std::memcmp(iLeft, iRight, iLen * sizeof(wchar_t)) == 0;
    }
    return std::equal(iLeft, iLeft + iLen, iRight,
                      [](wchar_t l, wchar_t r) { return _folded(l) == _folded(r); });
}
} // namespace

PLiteral::PLiteral(const wchar_t* iText) noexcept
    : fPtr(iText ? iText : L""), fLen(_length(iText, ~0u))
{
}

PLiteral& PLiteral::operator=(const wchar_t* iText) noexcept
{
    return *this = PLiteral(iText);
}

int PLiteral::cmp(const PLiteral& iOther) const noexcept
{
    return _compare(fPtr, fLen, iOther.fPtr, iOther.fLen);
}

int PLiteral::cmp(const wchar_t* iText, unsigned int iLen) const noexcept
{
    return _compare(fPtr, fLen, iText, _length(iText, iLen));
}

bool PLiteral::operator==(const PLiteral& iOther) const noexcept
{
    return fLen == iOther.fLen && _equal(fPtr, iOther.fPtr, fLen, false);
}

bool PLiteral::endsWith(const wchar_t* iText, unsigned int iLen, bool iIgnoreCase) const noexcept
{
    const unsigned int len = _length(iText, iLen);
    return len <= fLen && _equal(fPtr + (fLen - len), iText, len, iIgnoreCase);
}

bool PLiteral::startsWith(const wchar_t* iText, unsigned int iLen, bool iIgnoreCase) const noexcept
{
    const unsigned int len = _length(iText, iLen);
    return len <= fLen && _equal(fPtr, iText, len, iIgnoreCase);
}

bool PLiteral::chr(wchar_t iChar, unsigned int& oPos, bool iFromEnd,
                   bool iIgnoreCase) const noexcept
{
    if (!iFromEnd && !iIgnoreCase)
    {
        const wchar_t* const found = std::wmemchr(fPtr, iChar, fLen);
        oPos = found ? static_cast<unsigned int>(found - fPtr) : oPos;
        return found != nullptr;
    }
    const wchar_t wanted = iIgnoreCase ? _folded(iChar) : iChar;
    for (unsigned int i = 0; i < fLen; ++i)
    {
        const unsigned int pos = iFromEnd ? fLen - 1 - i : i;
        if ((iIgnoreCase ? _folded(fPtr[pos]) : fPtr[pos]) == wanted)
        {
            oPos = pos;
            return true;
        }
    }
    return false;
}

bool PLiteral::str(const PLiteral& iText, unsigned int& oPos, bool iFromEnd,
                   bool iIgnoreCase) const noexcept
{
    if (iText.fLen == 0 || iText.fLen > fLen)
    {
        return false;
    }
    const unsigned int last = fLen - iText.fLen;
    for (unsigned int i = 0; i <= last; ++i)
    {
        const unsigned int pos = iFromEnd ? last - i : i;
        if (_equal(fPtr + pos, iText.fPtr, iText.fLen, iIgnoreCase))
        {
            oPos = pos;
            return true;
        }
    }
    return false;
}

int PLiteral::getNextToken(PString& ioList, PString& oToken, wchar_t iSeparator) noexcept
{
    const wchar_t* rest = ioList.ptr();
    const wchar_t* const end = rest + ioList.len();
    while (rest != end)
    {
        const wchar_t* const stop = std::find(rest, end, iSeparator);
        const PSpan token = PBlank::trimmed(rest, static_cast<unsigned int>(stop - rest));
        rest = stop != end ? stop + 1 : end;
        if (token.len > 0)
        {
            const int res = oToken.set(token.text, token.len);
            // Cannot fail: the rest of a text fits in the buffer of the text.
            return res != 0 ? res : ioList.set(rest, static_cast<unsigned int>(end - rest));
        }
    }
    ioList.clear();
    return PErrno::code(ENODATA);
}
