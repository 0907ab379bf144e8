// SPDX-License-Identifier: MIT
#include "PLogLine.h"

#include "portinglayer/PUtf8.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__i386__) || defined(__x86_64__)
#define IXLAL_SSE2
#include <emmintrin.h>
#endif

namespace
{
constexpr std::string_view kBackslashes = "\\\\";
constexpr std::size_t kRun = 128; // the characters that append provides room for at once

std::uint32_t _bits(wchar_t iChar)
{
    // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wchar_t has 32 bits
    return static_cast<std::uint32_t>(iChar);
}

/// The number whose first byte in memory is the lowest of iNumber.
std::uint32_t _littleEndian(std::uint32_t iNumber)
{
    return std::endian::native == std::endian::little ? iNumber : __builtin_bswap32(iNumber);
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

#ifdef IXLAL_SSE2
// The product runs on processors without it, too.
const bool sHasSse2 = __builtin_cpu_supports("sse2");

[[gnu::target("sse2")]] __m128i _load(const wchar_t* iText)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(iText));
}

/// As _copyPlain, for the first characters in groups of sixteen. Packing turns every character that
/// is larger than a byte into FF or 0, which are not plain. Stores whole groups.
[[gnu::target("sse2")]] std::size_t _copySixteens(const wchar_t* iText, std::size_t iLen,
                                                  char* oBytes)
{
    for (std::size_t done = 0;; done += 16)
    {
        if (iLen - done < 16)
        {
            return done;
        }
        const wchar_t* const text = iText + done;
        const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(_load(text), _load(text + 4)),
                                               _mm_packs_epi32(_load(text + 8), _load(text + 12)));
        const __m128i others = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(0x7F)),
                                            _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\')));
        const __m128i printable = _mm_cmpgt_epi8(bytes, _mm_set1_epi8(0x1F));
        const int plain = _mm_movemask_epi8(_mm_andnot_si128(others, printable));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(oBytes + done), bytes);
        if (plain != 0xFFFF)
        {
            return done + static_cast<std::size_t>(std::countr_one(static_cast<unsigned>(plain)));
        }
    }
}
#else
constexpr bool sHasSse2 = false;

std::size_t _copySixteens(const wchar_t*, std::size_t, char*)
{
    return 0;
}
#endif

/// Copies plain characters up to the first other one; returns their number. Tests four at a time,
/// as the bytes of one number. The highest bit of a byte marks a character that is not plain: a
/// control character borrows from it when a blank is subtracted, a backslash, turned to zero by the
/// exclusive or, borrows from it when 1 is subtracted, and a delete carries into it when 1 is
/// added. Not inlined, because its loop needs all registers.
[[gnu::noinline]] std::size_t _copyPlain(const wchar_t* iText, std::size_t iLen, char* oBytes)
{
    std::size_t done = iLen >= 16 && sHasSse2 ? _copySixteens(iText, iLen, oBytes) : 0;
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
        const std::uint32_t inOrder = _littleEndian(bytes);
        std::memcpy(oBytes + done, &inOrder, sizeof inOrder);
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

PLogLine::PLogLine(std::size_t iUsualRoom) : PLogBuffer(iUsualRoom), fEndsInBackslash(false)
{
}

PLogLine::PLogLine(char* iUsual, std::size_t iUsualRoom) noexcept
    : PLogBuffer(iUsual, iUsualRoom), fEndsInBackslash(false)
{
}

int PLogLine::reset(std::size_t iRoom) noexcept
{
    fEndsInBackslash = false;
    return PLogBuffer::reset(iRoom);
}

void PLogLine::addText(const wchar_t* iText, std::size_t iLen) noexcept
{
    addPart(iText, iLen);
    if (fEndsInBackslash)
    {
        addBackslash(false);
    }
}

int PLogLine::append(const wchar_t* iText, std::size_t iLen) noexcept
{
    while (iLen > 0)
    {
        const std::size_t size = std::min(iLen, kRun);
        // Includes the room of a backslash before the text.
        if (const int result = reserve((size + 1) * eMaxBytes))
        {
            return result;
        }
        addPart(iText, size);
        iText += size;
        iLen -= size;
    }
    return 0;
}

int PLogLine::appendLiteral(const wchar_t*& ioText) noexcept
{
    const wchar_t* text = ioText;
    for (;;)
    {
        if (const int result = reserve(kRun * eMaxBytes))
        {
            return result;
        }
        char* const begin = end();
        char* out = begin;
        const char* const limit = fEndsInBackslash ? out : out + kRun / 2;
        while (_isPlain(*text) && *text != L'%' && out != limit)
        {
            *out++ = static_cast<char>(*text++);
        }
        keep(static_cast<std::size_t>(out - begin));
        if (*text == L'%' || *text == L'\0')
        {
            ioText = text;
            return 0;
        }
        addPart(text++, 1);
    }
}

int PLogLine::appendPlain(std::string_view iText) noexcept
{
    const int result = reserve(iText.size() + kBackslashes.size());
    if (result == 0 && !iText.empty())
    {
        if (fEndsInBackslash)
        {
            addBackslash(_continuesEscape(iText[0]));
        }
        add(iText);
    }
    return result;
}

int PLogLine::appendFill(char iFill, std::size_t iCount) noexcept
{
    constexpr std::size_t kFill = 64;
    char fill[kFill];
    std::memset(fill, iFill, sizeof fill);
    int result = 0;
    while (result == 0 && iCount > 0)
    {
        const std::size_t size = std::min(iCount, kFill);
        result = appendPlain(std::string_view(fill, size));
        iCount -= size;
    }
    return result;
}

int PLogLine::endText() noexcept
{
    if (!fEndsInBackslash)
    {
        return 0;
    }
    const int result = reserve(1);
    if (result == 0)
    {
        addBackslash(false);
    }
    return result;
}

void PLogLine::addBackslash(bool iIsDoubled) noexcept
{
    fEndsInBackslash = false;
    add(iIsDoubled ? kBackslashes : kBackslashes.substr(1));
}

void PLogLine::addPart(const wchar_t* iText, std::size_t iLen) noexcept
{
    const wchar_t* const last = iText + iLen;
    if (fEndsInBackslash && iLen > 0)
    {
        addBackslash(_continuesEscape(*iText));
    }
    for (;;)
    {
        const std::size_t plain = _copyPlain(iText, static_cast<std::size_t>(last - iText), end());
        keep(plain);
        iText += plain;
        if (iText == last)
        {
            return;
        }
        if (*iText == L'\\')
        {
            fEndsInBackslash = true;
            if (++iText == last)
            {
                return;
            }
            addBackslash(_continuesEscape(*iText));
            continue;
        }
        if (_isEscaped(_bits(*iText)))
        {
            addEscape(*iText++);
            continue;
        }
        const wchar_t* const rest = std::find_if(iText, last, &_endsForeign);
        keep(PUtf8::encodeLine(iText, static_cast<std::size_t>(rest - iText), end()));
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
