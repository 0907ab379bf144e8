// SPDX-License-Identifier: MIT
#include "PUtf8.h"

#include <cstdint>
#include <cstring>

namespace
{
constexpr std::uint32_t kByteOrderMark = 0xFEFF;
constexpr std::uint32_t kMaxCharacter = 0x10FFFF;
constexpr unsigned char kWideLead = 0xFE;
constexpr unsigned char kShortLead = 0xC0;
constexpr std::size_t kWideBytes = 7;

/// Stands for a byte after the end; it neither starts nor continues a sequence.
constexpr unsigned char kNoByte = 0;

/// The character of a byte sequence; size 0 when there is none.
struct Match
{
    std::uint32_t character;
    std::size_t size;
};

constexpr Match kNoMatch = {0, 0};

bool _isStandIn(std::uint32_t iChar) noexcept
{
    return iChar >= 0xDC80 && iChar <= 0xDCFF;
}

bool _isSurrogate(std::uint32_t iChar) noexcept
{
    return iChar >= 0xD800 && iChar <= 0xDFFF;
}

/// Whether a character ends a line, is part of a line end, or is zero.
bool _breaksLine(std::uint32_t iChar) noexcept
{
    return iChar == 0 || iChar == '\n' || iChar == '\r';
}

bool _hasUtf8(std::uint32_t iChar) noexcept
{
    return iChar <= kMaxCharacter && !_isSurrogate(iChar);
}

bool _continues(unsigned char iByte) noexcept
{
    return (iByte & 0xC0u) == 0x80;
}

/// The rest of a line, as bytes.
class Bytes
{
public:
    Bytes(const char* iBytes, std::size_t iLen) noexcept : fBytes(iBytes), fLen(iLen)
    {
    }

    unsigned char operator[](std::size_t iPos) const noexcept
    {
        return iPos < fLen ? static_cast<unsigned char>(fBytes[iPos]) : kNoByte;
    }

private:
    const char* fBytes;
    std::size_t fLen;
};

/// A run of stand-ins, as their bytes. Any other character ends the run, because its bytes continue
/// no sequence.
class StandIns
{
public:
    StandIns(const wchar_t* iText, std::size_t iLen) noexcept : fText(iText), fLen(iLen)
    {
    }

    unsigned char operator[](std::size_t iPos) const noexcept
    {
        const auto character = iPos < fLen ? static_cast<std::uint32_t>(fText[iPos]) : 0u;
        return _isStandIn(character) ? static_cast<unsigned char>(character) : kNoByte;
    }

private:
    const wchar_t* fText;
    std::size_t fLen;
};

/// Appends the bits of iCount continuation bytes, from iPos on, to ioBits. False when there are
/// fewer such bytes.
template <class TSource>
bool _collect(const TSource& iSource, std::size_t iPos, std::size_t iCount,
              std::uint64_t& ioBits) noexcept
{
    for (std::size_t i = 0; i < iCount; ++i)
    {
        const unsigned char byte = iSource[iPos + i];
        if (!_continues(byte))
        {
            return false;
        }
        ioBits = ioBits << 6 | (byte & 0x3Fu);
    }
    return true;
}

/// A character of more than one byte, in its shortest form. iRest is the index of the byte after
/// iLead.
template <class TSource>
Match _matchUtf8(unsigned char iLead, const TSource& iSource, std::size_t iRest) noexcept
{
    const std::size_t more = iLead >= 0xF0 ? 3 : iLead >= 0xE0 ? 2 : 1;
    if (iLead < 0xC2 || iLead > 0xF4)
    {
        return kNoMatch;
    }
    std::uint64_t bits = iLead & (0x3Fu >> more);
    if (!_collect(iSource, iRest, more, bits))
    {
        return kNoMatch;
    }
    constexpr std::uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    const auto character = static_cast<std::uint32_t>(bits);
    return character >= kLeast[more] && _hasUtf8(character) ? Match{character, more + 1} : kNoMatch;
}

template <class TSource>
Match _matchShort(const TSource& iSource, std::size_t iRest) noexcept
{
    std::uint64_t bits = 0;
    const bool matches =
        _collect(iSource, iRest, 1, bits) && _breaksLine(static_cast<std::uint32_t>(bits));
    return matches ? Match{static_cast<std::uint32_t>(bits), 2} : kNoMatch;
}

/// The character of the bytes from iPos on. The wide form of a stand-in is valid only where the
/// byte itself would combine with the bytes after the form. That byte may again be the lead of a
/// wide form, hence the loop: rest is the index of the first byte after the forms read so far.
template <class TSource>
Match _match(const TSource& iSource, std::size_t iPos, bool iFileStart) noexcept
{
    unsigned char lead = iSource[iPos];
    std::size_t rest = iPos + 1;
    Match first = kNoMatch;
    while (lead == kWideLead)
    {
        std::uint64_t bits = 0;
        if (!_collect(iSource, rest, kWideBytes - 1, bits) || bits > 0xFFFFFFFFu)
        {
            return kNoMatch;
        }
        rest += kWideBytes - 1;
        const Match wide = {static_cast<std::uint32_t>(bits), kWideBytes};
        first = first.size > 0 ? first : wide;
        if (!_isStandIn(wide.character))
        {
            const bool mark = iFileStart && wide.character == kByteOrderMark;
            return !_hasUtf8(wide.character) || mark ? first : kNoMatch;
        }
        lead = static_cast<unsigned char>(wide.character);
    }
    const Match last =
        lead == kShortLead ? _matchShort(iSource, rest) : _matchUtf8(lead, iSource, rest);
    return last.size > 0 && first.size > 0 ? first : last;
}

char* _putUtf8(std::uint32_t iChar, char* oBytes) noexcept
{
    const std::size_t more = iChar < 0x80 ? 0 : iChar < 0x800 ? 1 : iChar < 0x10000 ? 2 : 3;
    constexpr unsigned int kLead[] = {0, 0xC0, 0xE0, 0xF0};
    *oBytes++ = static_cast<char>(kLead[more] | iChar >> 6 * more);
    for (std::size_t left = more; left-- > 0;)
    {
        *oBytes++ = static_cast<char>(0x80u | (iChar >> 6 * left & 0x3Fu));
    }
    return oBytes;
}

char* _putWide(std::uint32_t iChar, char* oBytes) noexcept
{
    *oBytes++ = static_cast<char>(kWideLead);
    for (std::size_t left = kWideBytes - 1; left-- > 0;)
    {
        const std::uint64_t bits = iChar;
        *oBytes++ = static_cast<char>(0x80u | (bits >> 6 * left & 0x3Fu));
    }
    return oBytes;
}

/// Writes the first of iLen characters; returns the end of its bytes.
char* _putLine(const wchar_t* iText, std::size_t iLen, bool iFileStart, char* oBytes) noexcept
{
    // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wchar_t has 32 bits
    const auto character = static_cast<std::uint32_t>(*iText);
    if (_breaksLine(character))
    {
        *oBytes++ = static_cast<char>(kShortLead);
        *oBytes++ = static_cast<char>(0x80u | character);
        return oBytes;
    }
    if (_isStandIn(character) && _match(StandIns(iText, iLen), 0, iFileStart).size == 0)
    {
        *oBytes++ = static_cast<char>(character);
        return oBytes;
    }
    const bool mark = iFileStart && character == kByteOrderMark;
    return _hasUtf8(character) && !mark ? _putUtf8(character, oBytes) : _putWide(character, oBytes);
}

/// Copies plain characters, which need no conversion, up to the first other one; returns their
/// number.
template <class TFrom, class TTo>
std::size_t _copyPlain(const TFrom* iFrom, std::size_t iLen, TTo* oTo) noexcept
{
    std::size_t count = 0;
    while (count < iLen && static_cast<std::uint32_t>(iFrom[count]) - 0x0Eu < 0x80u - 0x0Eu)
    {
        oTo[count] = static_cast<TTo>(iFrom[count]);
        ++count;
    }
    return count;
}

/// Widens bytes below 0x80, four at a time, up to the first four with another byte; returns their
/// number.
std::size_t _widenAscii(const char* iFrom, std::size_t iLen, wchar_t* oTo) noexcept
{
    const char* from = iFrom;
    for (const char* const last = iFrom + iLen - iLen % 4; from != last; from += 4, oTo += 4)
    {
        std::uint32_t bytes = 0;
        std::memcpy(&bytes, from, sizeof bytes);
        if ((bytes & 0x80808080u) != 0)
        {
            break;
        }
        oTo[0] = from[0];
        oTo[1] = from[1];
        oTo[2] = from[2];
        oTo[3] = from[3];
    }
    return static_cast<std::size_t>(from - iFrom);
}

wchar_t _standIn(char iByte) noexcept
{
    const auto byte = static_cast<unsigned char>(iByte);
    return static_cast<wchar_t>(byte < 0x80 ? byte : 0xDC00u + byte);
}
} // namespace

const std::size_t PUtf8::eNoPath;

std::size_t PUtf8::encodeLine(const wchar_t* iText, std::size_t iLen, char* oBytes,
                              bool iFileStart) noexcept
{
    char* out = oBytes;
    std::size_t pos = 0;
    while (pos < iLen)
    {
        const std::size_t plain = _copyPlain(iText + pos, iLen - pos, out);
        pos += plain;
        out += plain;
        if (pos < iLen)
        {
            out = _putLine(iText + pos, iLen - pos, iFileStart && pos == 0, out);
            ++pos;
        }
    }
    return static_cast<std::size_t>(out - oBytes);
}

std::size_t PUtf8::decodeLine(const char* iBytes, std::size_t iLen, wchar_t* oText,
                              bool iFileStart) noexcept
{
    const Bytes bytes(iBytes, iLen);
    wchar_t* out = oText;
    std::size_t pos = 0;
    while (pos < iLen)
    {
        const std::size_t ascii = _widenAscii(iBytes + pos, iLen - pos, out);
        pos += ascii;
        out += ascii;
        const std::size_t plain = _copyPlain(iBytes + pos, iLen - pos, out);
        pos += plain;
        out += plain;
        if (pos < iLen)
        {
            const Match match = _match(bytes, pos, iFileStart && pos == 0);
            *out++ = match.size > 0 ? static_cast<wchar_t>(match.character) : _standIn(iBytes[pos]);
            pos += match.size > 0 ? match.size : 1;
        }
    }
    return static_cast<std::size_t>(out - oText);
}

std::size_t PUtf8::encodePath(const wchar_t* iText, std::size_t iLen, char* oBytes) noexcept
{
    std::size_t pos = _copyPlain(iText, iLen, oBytes);
    char* out = oBytes + pos;
    for (; pos < iLen; ++pos)
    {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wchar_t has 32 bits
        const auto character = static_cast<std::uint32_t>(iText[pos]);
        if (_isStandIn(character))
        {
            *out++ = static_cast<char>(character);
        }
        else if (character != 0 && _hasUtf8(character))
        {
            out = _putUtf8(character, out);
        }
        else
        {
            return eNoPath;
        }
    }
    *out = '\0';
    return static_cast<std::size_t>(out - oBytes);
}

std::size_t PUtf8::decodePath(const char* iBytes, std::size_t iLen, wchar_t* oText) noexcept
{
    const Bytes bytes(iBytes, iLen);
    std::size_t pos = _copyPlain(iBytes, iLen, oText);
    wchar_t* out = oText + pos;
    while (pos < iLen)
    {
        const Match match = _matchUtf8(bytes[pos], bytes, pos + 1);
        *out++ = match.size > 0 ? static_cast<wchar_t>(match.character) : _standIn(iBytes[pos]);
        pos += match.size > 0 ? match.size : 1;
    }
    return static_cast<std::size_t>(out - oText);
}
