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
bool _isPlain(wchar_t iChar)
{
    return iChar >= 0x20 && iChar < 0x80;
}

std::uint32_t _bits(wchar_t iChar)
{
    // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wchar_t has 32 bits
    return static_cast<std::uint32_t>(iChar);
}

/// Copies characters of ASCII, up to the first other or control character; returns how many. Takes
/// four at a time: of their bytes together, one below a blank lends from its highest bit.
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
        if ((first | second | third | fourth) >= 0x80 || ((bytes - 0x20202020u) & 0x80808080u) != 0)
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

/// The letter that shows a character which would break the line; 0 for all others.
char _escapeLetter(wchar_t iChar)
{
    switch (iChar)
    {
    case L'\n':
        return 'n';
    case L'\r':
        return 'r';
    case L'\0':
        return '0';
    default:
        return 0;
    }
}

/// Whether a character ends a run of those that only PUtf8 can write.
bool _endsForeign(wchar_t iChar)
{
    return _isPlain(iChar) || _escapeLetter(iChar) != 0;
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
        if (const char letter = _escapeLetter(*iText))
        {
            add('\\');
            add(letter);
            ++iText;
            continue;
        }
        const wchar_t* const rest = std::find_if(iText, end, &_endsForeign);
        fSize += PUtf8::encodeLine(iText, static_cast<std::size_t>(rest - iText), fBytes + fSize);
        iText = rest;
    }
}
