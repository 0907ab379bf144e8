// SPDX-License-Identifier: MIT
#include "host/PSafeText.h"

#include <algorithm>
#include <charconv>
#include <unistd.h>

namespace
{
constexpr int kTextBase = 16;
constexpr std::size_t kNumberSize = 24;

bool _isShown(wchar_t iChar)
{
    return iChar >= 0x20 && iChar < 0x7F;
}
} // namespace

PSafeText& PSafeText::add(std::string_view iText)
{
    for (const char character : iText)
    {
        put(_isShown(character) ? character : '?');
    }
    return *this;
}

PSafeText& PSafeText::addWide(const wchar_t* iText, std::size_t iLength)
{
    for (std::size_t i = 0; i < iLength; ++i)
    {
        put(_isShown(iText[i]) ? static_cast<char>(iText[i]) : '?');
    }
    return *this;
}

PSafeText& PSafeText::addNumber(long long iNumber)
{
    char digits[kNumberSize];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, iNumber);
    return add(std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)));
}

PSafeText& PSafeText::addHex(unsigned long long iNumber)
{
    char digits[kNumberSize];
    const std::to_chars_result result =
        std::to_chars(digits, digits + sizeof digits, iNumber, kTextBase);
    return add("0x").add(std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)));
}

PSafeText& PSafeText::addDigits(unsigned int iNumber, int iDigits)
{
    unsigned int divisor = 1;
    for (int i = 1; i < iDigits; ++i)
    {
        divisor *= 10;
    }
    for (; divisor > 0; divisor /= 10)
    {
        put(static_cast<char>('0' + iNumber / divisor % 10));
    }
    return *this;
}

std::string_view PSafeText::text() const
{
    return {fText, fLength};
}

void PSafeText::writeLine(int iDescriptor) const
{
    char line[eCapacity + 1];
    std::copy_n(fText, fLength, line);
    line[fLength] = '\n';
    // A report that cannot be written is lost: the process is about to end.
    static_cast<void>(write(iDescriptor, line, fLength + 1) < 0);
}

void PSafeText::put(char iChar)
{
    if (fLength < eCapacity)
    {
        fText[fLength++] = iChar;
    }
}
