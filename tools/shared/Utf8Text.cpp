// SPDX-License-Identifier: MIT
#include "shared/Utf8Text.h"

namespace
{
constexpr unsigned int kBitsPerByte = 6;
constexpr unsigned int kByteMask = 0x3F;

unsigned int _byte(std::string_view iText, std::size_t iPlace)
{
    return iPlace < iText.size() ? static_cast<unsigned char>(iText[iPlace]) : 0U;
}

std::size_t _lengthOf(unsigned int iFirst)
{
    if (iFirst < 0x80)
    {
        return 1;
    }
    if (iFirst >= 0xC2 && iFirst < 0xE0)
    {
        return 2;
    }
    if (iFirst >= 0xE0 && iFirst < 0xF0)
    {
        return 3;
    }
    return iFirst >= 0xF0 && iFirst < 0xF5 ? 4 : 0;
}

/// Whether the second byte makes an overlong form, a surrogate or a character above U+10FFFF.
bool _isForbidden(unsigned int iFirst, unsigned int iSecond)
{
    return (iFirst == 0xE0 && iSecond < 0xA0) || (iFirst == 0xED && iSecond >= 0xA0) ||
           (iFirst == 0xF0 && iSecond < 0x90) || (iFirst == 0xF4 && iSecond >= 0x90);
}
} // namespace

std::size_t utf8Length(std::string_view iText)
{
    if (iText.empty())
    {
        return 0;
    }
    const unsigned int first = _byte(iText, 0);
    const std::size_t length = _lengthOf(first);
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((_byte(iText, i) & 0xC0U) != 0x80U)
        {
            return 0;
        }
    }
    return length > 2 && _isForbidden(first, _byte(iText, 1)) ? 0 : length;
}

bool isUtf8(std::string_view iText)
{
    while (!iText.empty())
    {
        const std::size_t length = utf8Length(iText);
        if (length == 0)
        {
            return false;
        }
        iText.remove_prefix(length);
    }
    return true;
}

void appendUtf8(unsigned int iCharacter, std::string& ioText)
{
    constexpr unsigned int kLimits[] = {0x80, 0x800, 0x10000, 0x110000};
    constexpr unsigned int kMarks[] = {0x00, 0xC0, 0xE0, 0xF0};
    unsigned int more = 0;
    while (more < 3 && iCharacter >= kLimits[more])
    {
        ++more;
    }
    ioText += static_cast<char>(kMarks[more] | (iCharacter >> (kBitsPerByte * more)));
    while (more > 0)
    {
        --more;
        ioText += static_cast<char>(0x80U | ((iCharacter >> (kBitsPerByte * more)) & kByteMask));
    }
}
