// SPDX-License-Identifier: MIT
#include "PLogNarrow.h"

#include "portinglayer/PUtf8.h"

#include <algorithm>
#include <iterator>

namespace
{
bool _isAscii(char iByte)
{
    return static_cast<unsigned char>(iByte) < 0x80;
}

bool _continues(char iByte)
{
    return (static_cast<unsigned char>(iByte) & 0xC0u) == 0x80;
}

/// The most bytes of a character that begins with this one.
std::size_t _mostBytes(char iLead)
{
    const auto lead = static_cast<unsigned char>(iLead);
    return lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
}

/// The bytes of a character in UTF-8, or 1 for a byte that is none.
std::size_t _size(wchar_t iChar)
{
    const bool isByte = iChar >= 0xDC80 && iChar <= 0xDCFF;
    return isByte ? 1 : iChar < 0x800 ? 2 : iChar < 0x10000 ? 3 : 4;
}
} // namespace

std::size_t PLogNarrow::read(wchar_t* oText, std::size_t iMost) noexcept
{
    std::size_t done = 0;
    while (done < iMost && *fText != '\0')
    {
        oText[done++] = _isAscii(*fText) ? static_cast<wchar_t>(*fText++) : readForeign();
    }
    return done;
}

wchar_t PLogNarrow::readForeign() noexcept
{
    const std::size_t most = _mostBytes(*fText);
    std::size_t size = 1;
    while (size < most && _continues(fText[size]))
    {
        ++size;
    }
    wchar_t text[4];
    static_cast<void>(PUtf8::decodePath(fText, size, text));
    fText += _size(text[0]);
    return text[0];
}

std::size_t PLogNarrow::count(const char* iText, std::size_t iMost) noexcept
{
    PLogNarrow text(iText);
    wchar_t part[64];
    std::size_t count = 0;
    std::size_t size = 0;
    do
    {
        size = text.read(part, std::min(iMost - count, std::size(part)));
        count += size;
    } while (size > 0 && count < iMost);
    return count;
}
