// SPDX-License-Identifier: MIT
#include "PUtils.h"

#include "PBlank.h"
#include "PErrno.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <limits>
#include <memory>
#include <new>

namespace
{
/// A number as sign and magnitude.
struct Decimal
{
    bool negative;
    bool tooLarge; ///< out of the range of magnitude
    unsigned long long magnitude;
};

bool _isDigit(wchar_t iChar) noexcept
{
    return iChar >= L'0' && iChar <= L'9';
}

/// Reads digits as long as the number is sure to fit in 32 bits; most numbers have no more digits.
unsigned int _parseFront(const PSpan& iText, unsigned int& oRead) noexcept
{
    constexpr unsigned int kMost = std::numeric_limits<unsigned int>::digits10;
    unsigned int number = 0;
    unsigned int read = 0;
    for (; read < std::min(iText.len, kMost) && _isDigit(iText.text[read]); ++read)
    {
        number = number * 10 + static_cast<unsigned int>(iText.text[read] - L'0');
    }
    oRead = read;
    return number;
}

int _parse(const PLiteral& iText, Decimal& oNumber) noexcept
{
    PSpan text = PBlank::trimmed(iText.ptr(), iText.len());
    Decimal number = {text.len > 0 && *text.text == L'-', false, 0};
    if (text.len > 0 && (*text.text == L'-' || *text.text == L'+'))
    {
        ++text.text;
        --text.len;
    }
    unsigned int read = 0;
    number.magnitude = _parseFront(text, read);
    for (; read < text.len; ++read)
    {
        const wchar_t digit = text.text[read];
        if (!_isDigit(digit))
        {
            return PErrno::code(EINVAL);
        }
        const auto value = static_cast<unsigned int>(digit - L'0');
        number.tooLarge |= __builtin_mul_overflow(number.magnitude, 10u, &number.magnitude);
        number.tooLarge |= __builtin_add_overflow(number.magnitude, value, &number.magnitude);
    }
    if (text.len == 0)
    {
        return PErrno::code(EINVAL);
    }
    oNumber = number;
    return 0;
}

template <class TValue>
int _toNumber(const PLiteral& iText, TValue& oValue) noexcept
{
    Decimal number = {};
    const int res = _parse(iText, number);
    if (res != 0)
    {
        return res;
    }
    using Limits = std::numeric_limits<TValue>;
    const auto most = static_cast<unsigned long long>(Limits::max());
    const unsigned long long least = Limits::is_signed ? most + 1 : 0;
    if (number.tooLarge || number.magnitude > (number.negative ? least : most))
    {
        return PErrno::code(ERANGE);
    }
    oValue = static_cast<TValue>(number.negative ? 0 - number.magnitude : number.magnitude);
    return 0;
}

int _fromNumber(unsigned long long iMagnitude, bool iNegative, PString& oText) noexcept
{
    wchar_t chars[24];
    wchar_t* const end = chars + sizeof chars / sizeof *chars;
    wchar_t* begin = end;
    do
    {
        *--begin = static_cast<wchar_t>(L'0' + iMagnitude % 10);
        iMagnitude /= 10;
    } while (iMagnitude > 0);
    if (iNegative)
    {
        *--begin = L'-';
    }
    return oText.set(begin, static_cast<unsigned int>(end - begin));
}

int _hexDigit(wchar_t iChar) noexcept
{
    if (iChar >= L'0' && iChar <= L'9')
    {
        return static_cast<int>(iChar - L'0');
    }
    const wchar_t lower = iChar | 0x20;
    return lower >= L'a' && lower <= L'f' ? static_cast<int>(lower - L'a') + 10 : -1;
}

/// Whether a text is iWord, in upper or lower case; iWord is lower-case.
bool _isWord(const PSpan& iText, const wchar_t* iWord) noexcept
{
    return std::wcslen(iWord) == iText.len &&
           std::equal(iText.text, iText.text + iText.len, iWord,
                      [](wchar_t c, wchar_t w)
                      { return c == w || (c >= L'A' && c <= L'Z' && c - L'A' + L'a' == w); });
}

/// Frees what the C library allocated.
struct FreeText
{
    void operator()(wchar_t* iText) const noexcept
    {
        std::free(iText);
    }
};

/// Formats a text of any length.
int _formatLong(PString& oText, const wchar_t* iFormat, va_list iArgs) noexcept
{
    wchar_t* text = nullptr;
    std::size_t len = 0;
    FILE* const stream = open_wmemstream(&text, &len);
    if (!stream)
    {
        return PErrno::code(ENOMEM);
    }
    errno = 0;
    const int written = std::vfwprintf(stream, iFormat, iArgs);
    const int formatError = written < 0 ? errno : 0;
    const bool closed = std::fclose(stream) == 0;
    const std::unique_ptr<wchar_t, FreeText> owner(text);
    // fclose frees the text for lack of memory and still succeeds.
    const bool lost = !closed || !text;
    if (written < 0 || lost)
    {
        return PErrno::code(formatError == ENOMEM || lost ? ENOMEM : EILSEQ);
    }
    return oText.set(text, static_cast<unsigned int>(len));
}
} // namespace

int PUtils::strToInt32(const PLiteral& iText, int& oValue) noexcept
{
    return _toNumber(iText, oValue);
}

int PUtils::strToUint32(const PLiteral& iText, unsigned int& oValue) noexcept
{
    return _toNumber(iText, oValue);
}

int PUtils::strToInt64(const PLiteral& iText, long long& oValue) noexcept
{
    return _toNumber(iText, oValue);
}

int PUtils::strToUint64(const PLiteral& iText, unsigned long long& oValue) noexcept
{
    return _toNumber(iText, oValue);
}

int PUtils::strToBool(const PLiteral& iText, bool& oValue) noexcept
{
    const PSpan text = PBlank::trimmed(iText.ptr(), iText.len());
    const auto isWord = [&text](const wchar_t* iWord)
    {
        return _isWord(text, iWord);
    };
    const wchar_t* const yes[] = {L"true", L"yes", L"on", L"1"};
    const wchar_t* const no[] = {L"false", L"no", L"off", L"0"};
    const bool isTrue = std::any_of(std::begin(yes), std::end(yes), isWord);
    if (!isTrue && std::none_of(std::begin(no), std::end(no), isWord))
    {
        return PErrno::code(EINVAL);
    }
    oValue = isTrue;
    return 0;
}

int PUtils::strToBinary(const PLiteral& iText, unsigned char*& oData, unsigned int& oSize) noexcept
{
    const PSpan text = PBlank::trimmed(iText.ptr(), iText.len());
    const bool isHex =
        std::all_of(text.text, text.text + text.len, [](wchar_t c) { return _hexDigit(c) >= 0; });
    if (!isHex || text.len % 2 != 0)
    {
        return PErrno::code(EINVAL);
    }
    const unsigned int size = text.len / 2;
    unsigned char* const data = new (std::nothrow) unsigned char[size];
    if (!data)
    {
        return PErrno::code(ENOMEM);
    }
    for (unsigned int i = 0; i < size; ++i)
    {
        const int value = _hexDigit(text.text[2 * i]) << 4 | _hexDigit(text.text[2 * i + 1]);
        data[i] = static_cast<unsigned char>(value);
    }
    oData = data;
    oSize = size;
    return 0;
}

int PUtils::int32ToStr(int iValue, PString& oText) noexcept
{
    return int64ToStr(iValue, oText);
}

int PUtils::uint32ToStr(unsigned int iValue, PString& oText) noexcept
{
    return _fromNumber(iValue, false, oText);
}

int PUtils::int64ToStr(long long iValue, PString& oText) noexcept
{
    const auto bits = static_cast<unsigned long long>(iValue);
    return _fromNumber(iValue < 0 ? 0 - bits : bits, iValue < 0, oText);
}

int PUtils::uint64ToStr(unsigned long long iValue, PString& oText) noexcept
{
    return _fromNumber(iValue, false, oText);
}

int PUtils::boolToStr(bool iValue, PString& oText) noexcept
{
    return oText.set(iValue ? L"true" : L"false");
}

int PUtils::binaryToStr(const unsigned char* iData, unsigned int iSize, PString& oText) noexcept
{
    if (!iData && iSize > 0)
    {
        return PErrno::code(EINVAL);
    }
    if (iSize > ~0u / 2)
    {
        return PErrno::code(ENOMEM);
    }
    const int res = oText.reserve(iSize * 2);
    if (res != 0)
    {
        return res;
    }
    oText.clear();
    for (unsigned int i = 0; i < iSize; ++i)
    {
        constexpr wchar_t kDigits[] = L"0123456789abcdef";
        const wchar_t pair[] = {kDigits[iData[i] >> 4], kDigits[iData[i] & 0x0F]};
        // Cannot fail: reserved above.
        oText.cat(pair, 2);
    }
    return 0;
}

// Reserves both before it changes anything. Sets the key first: oKey may be the buffer of iText,
// where the key ends before the value starts.
int PUtils::getKeyValue(const PLiteral& iText, PString& oKey, PString& oValue,
                        wchar_t iSeparator) noexcept
{
    unsigned int at = 0;
    if (!iText.chr(iSeparator, at))
    {
        return PErrno::code(EINVAL);
    }
    const int keyRoom = oKey.reserve(PBlank::trimmed(iText.ptr(), at).len);
    const int valueRoom =
        oValue.reserve(PBlank::trimmed(iText.ptr() + at + 1, iText.len() - at - 1).len);
    if (keyRoom != 0 || valueRoom != 0)
    {
        return keyRoom != 0 ? keyRoom : valueRoom;
    }
    const PSpan key = PBlank::trimmed(iText.ptr(), at);
    const PSpan value = PBlank::trimmed(iText.ptr() + at + 1, iText.len() - at - 1);
    const int res = oKey.set(key.text, key.len);
    return res != 0 ? res : oValue.set(value.text, value.len);
}

void PUtils::fixFileSeparator(PString& ioPath) noexcept
{
    // The cast is safe: a PString owns its characters.
    wchar_t* const path = const_cast<wchar_t*>(ioPath.ptr());
    std::replace(path, path + ioPath.len(), L'\\', L'/');
}

int PUtils::pformatString(PString& oText, const wchar_t* iFormat, ...) noexcept
{
    va_list args;
    va_start(args, iFormat);
    const int res = pformatStringList(oText, iFormat, args);
    va_end(args);
    return res;
}

int PUtils::pformatStringList(PString& oText, const wchar_t* iFormat, va_list iArgs) noexcept
{
    if (!iFormat)
    {
        return PErrno::code(EINVAL);
    }
    wchar_t chars[256];
    va_list again;
    va_copy(again, iArgs);
    const int len = std::vswprintf(chars, sizeof chars / sizeof *chars, iFormat, iArgs);
    // A negative length means too little room or a failure; _formatLong tells which.
    const int res = len >= 0 ? oText.set(chars, static_cast<unsigned int>(len))
                             : _formatLong(oText, iFormat, again);
    va_end(again);
    return res;
}
