// SPDX-License-Identifier: MIT
#include "PLogLine.h"

#include "portinglayer/PUtf8.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <new>

static_assert(std::endian::native == std::endian::little, "_copyPlain puts bytes together so");

namespace
{
constexpr std::string_view kBackslashes = "\\\\";

std::uint32_t _bits(wchar_t iChar)
{
    // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wchar_t has 32 bits
    return static_cast<std::uint32_t>(iChar);
}

/// Whether a character is written as its number.
bool _isEscaped(std::uint32_t iChar)
{
    if (iChar < 0xA0)
    {
        return iChar != '\t' && (iChar < 0x20 || iChar >= 0x7F);
    }
    const bool turns = iChar == 0x061C || iChar == 0x200E || iChar == 0x200F ||
                       (iChar >= 0x202A && iChar <= 0x202E) || (iChar >= 0x2066 && iChar <= 0x2069);
    const bool separates = iChar == 0x2028 || iChar == 0x2029;
    const bool hasUtf8 = iChar < 0xD800 || (iChar > 0xDFFF && iChar <= 0x10FFFF);
    return turns || separates || !hasUtf8;
}

/// Whether an ASCII character is always written unchanged.
bool _isPlain(wchar_t iChar)
{
    return iChar >= 0x20 && iChar < 0x7F && iChar != L'\\';
}

/// Copies plain characters up to the first other one; returns their number. Tests four at a time,
/// as the bytes of one number. The highest bit of a byte marks a character that is not plain: a
/// control character borrows from it when a blank is subtracted, a backslash, turned to zero by the
/// exclusive or, borrows from it when 1 is subtracted, and a delete carries into it when 1 is
/// added.
std::size_t _copyPlain(const wchar_t* iText, std::size_t iLen, char* oBytes)
{
    std::size_t done = 0;
    for (; done + 4 <= iLen; done += 4)
    {
        const std::uint32_t first = _bits(iText[done]);
        const std::uint32_t second = _bits(iText[done + 1]);
        const std::uint32_t third = _bits(iText[done + 2]);
        const std::uint32_t fourth = _bits(iText[done + 3]);
        const std::uint32_t bytes = first | second << 8 | third << 16 | fourth << 24;
        const std::uint32_t marks =
            (bytes - 0x20202020u) | (bytes + 0x01010101u) | ((bytes ^ 0x5C5C5C5Cu) - 0x01010101u);
        if ((first | second | third | fourth) >= 0x80 || (marks & 0x80808080u) != 0)
        {
            break;
        }
        std::memcpy(oBytes + done, &bytes, sizeof bytes);
    }
    for (; done < iLen && _isPlain(iText[done]); ++done)
    {
        oBytes[done] = static_cast<char>(iText[done]);
    }
    return done;
}

/// Whether a backslash before this character would read as the start of an escape.
bool _continuesEscape(wchar_t iChar)
{
    return std::wstring_view(L"nr0xuU\\").find(iChar) != std::wstring_view::npos ||
           _isEscaped(_bits(iChar));
}

/// Whether a character ends a run of characters that PUtf8 encodes.
bool _endsForeign(wchar_t iChar)
{
    return _isPlain(iChar) || iChar == L'\\' || _isEscaped(_bits(iChar));
}
} // namespace

PLogLine::PLogLine(std::size_t iUsualRoom)
    : fUsualRoom(iUsualRoom), fUsual(new char[iUsualRoom]), fBytes(fUsual.get()), fSize(0)
{
}

int PLogLine::reset(std::size_t iRoom) noexcept
{
    fSize = 0;
    fLarge.reset();
    fBytes = fUsual.get();
    if (iRoom <= fUsualRoom)
    {
        return 0;
    }
    fLarge.reset(new (std::nothrow) char[iRoom]);
    if (!fLarge)
    {
        return -ENOMEM;
    }
    fBytes = fLarge.get();
    return 0;
}

void PLogLine::addNumber(long long iNumber) noexcept
{
    char digits[24];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, iNumber);
    add(std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)));
}

void PLogLine::addHex(unsigned int iNumber, int iDigits) noexcept
{
    for (int shift = (iDigits - 1) * 4; shift >= 0; shift -= 4)
    {
        add("0123456789abcdef"[(iNumber >> shift) & 0xFu]);
    }
}

void PLogLine::addText(const wchar_t* iText, std::size_t iLen) noexcept
{
    const wchar_t* const end = iText + iLen;
    for (;;)
    {
        const std::size_t plain =
            _copyPlain(iText, static_cast<std::size_t>(end - iText), fBytes + fSize);
        fSize += plain;
        iText += plain;
        if (iText == end)
        {
            return;
        }
        if (*iText == L'\\')
        {
            ++iText;
            add(iText != end && _continuesEscape(*iText) ? kBackslashes : kBackslashes.substr(1));
            continue;
        }
        if (_isEscaped(_bits(*iText)))
        {
            addEscape(*iText++);
            continue;
        }
        const wchar_t* const rest = std::find_if(iText, end, &_endsForeign);
        fSize += PUtf8::encodeLine(iText, static_cast<std::size_t>(rest - iText), fBytes + fSize);
        iText = rest;
    }
}

void PLogLine::addEscape(wchar_t iChar) noexcept
{
    const std::uint32_t bits = _bits(iChar);
    const bool isByte = bits >= 0xDC80 && bits <= 0xDCFF;
    if (bits == '\n' || bits == '\r' || bits == 0)
    {
        add(bits == '\n' ? "\\n" : bits == '\r' ? "\\r" : "\\0");
    }
    else if (bits < 0x80 || isByte)
    {
        add("\\x");
        addHex(bits & 0xFFu, 2);
    }
    else
    {
        const bool isShort = bits <= 0xFFFF;
        add(isShort ? "\\u" : "\\U");
        addHex(bits, isShort ? 4 : 8);
    }
}
