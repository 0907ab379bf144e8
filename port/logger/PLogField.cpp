// SPDX-License-Identifier: MIT
#include "PLogField.h"

#include "PLogLine.h"
#include "PLogNarrow.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cwchar>
#include <limits>

namespace
{
constexpr std::size_t kMostDigits = 22; // of 64 bits in octal
constexpr std::size_t kNarrowRun = 64;  // the characters of a narrow text that are read at once
constexpr std::size_t kShort = 32;      // the characters of a number that is composed at once
constexpr std::uint32_t kMostShort = std::numeric_limits<std::uint32_t>::max();

char _upper(char iDigit)
{
    return iDigit >= 'a' ? static_cast<char>(iDigit - 'a' + 'A') : iDigit;
}
} // namespace

/// The prefix of a number that is not negative.
std::string_view PLogField::sign() const noexcept
{
    return spec.plus ? "+" : spec.blank ? " " : "";
}

int PLogField::addNumber(unsigned long long iNumber, unsigned int iBase,
                         std::string_view iPrefix) noexcept
{
    if (iBase == 10 && iNumber <= kMostShort && isShort())
    {
        return addShort(static_cast<std::uint32_t>(iNumber), iPrefix);
    }
    std::array<char, kMostDigits> digits;
    char* const begin = digits.data();
    char* end = begin;
    if (iNumber != 0 || spec.precision != 0)
    {
        // The digits of a smaller type take much less time on 32 bits.
        const bool isSmall = iNumber <= std::numeric_limits<unsigned long>::max();
        end = isSmall
                  ? std::to_chars(begin, begin + kMostDigits, static_cast<unsigned long>(iNumber),
                                  static_cast<int>(iBase))
                        .ptr
                  : std::to_chars(begin, begin + kMostDigits, iNumber, static_cast<int>(iBase)).ptr;
    }
    if (spec.kind == L'X')
    {
        std::transform(begin, end, begin, &_upper);
    }
    const int size = static_cast<int>(end - begin);
    const bool needsZero = iBase == 8 && spec.alternate && (size == 0 || digits[0] != '0');
    return addDigits(iPrefix, std::string_view(begin, static_cast<std::size_t>(size)),
                     needsZero ? size + 1 : 0);
}

/// Whether a decimal number of 32 bits with its zeros and blanks fits into kShort characters, and
/// needs none at its end.
bool PLogField::isShort() const noexcept
{
    constexpr auto kMost = static_cast<int>(kShort);
    return spec.width <= kMost && spec.precision <= kMost - 1 && spec.precision != 0 && !spec.left;
}

/// Adds a decimal number for which isShort is true. iPrefix has at most one character.
int PLogField::addShort(std::uint32_t iNumber, std::string_view iPrefix) noexcept
{
    char text[kShort];
    char* const end = text + kShort;
    char* begin = end;
    for (std::uint32_t rest = iNumber; begin == end || rest > 0; rest /= 10)
    {
        *--begin = static_cast<char>('0' + rest % 10);
    }
    const int filled = spec.zero ? spec.width - static_cast<int>(iPrefix.size()) : 0;
    const int digits = spec.precision < 0 ? filled : spec.precision;
    while (end - begin < digits)
    {
        *--begin = '0';
    }
    if (!iPrefix.empty())
    {
        *--begin = iPrefix[0];
    }
    while (end - begin < spec.width)
    {
        *--begin = ' ';
    }
    return fLine.appendPlain(std::string_view(begin, static_cast<std::size_t>(end - begin)));
}

/// Adds a number of at least iLeast digits with its prefix, and with the zeros and blanks of the
/// conversion.
int PLogField::addDigits(std::string_view iPrefix, std::string_view iDigits, int iLeast) noexcept
{
    const auto size = static_cast<int>(iDigits.size());
    const auto prefix = static_cast<int>(iPrefix.size());
    const bool isFilled = spec.zero && !spec.left && spec.precision < 0;
    const int least = std::max(isFilled ? spec.width - prefix : spec.precision, iLeast);
    const int zeros = std::max(least - size, 0);
    const auto all = static_cast<std::size_t>(prefix + zeros + size);
    int result = spec.left ? 0 : addPadding(all);
    result = result != 0 ? result : fLine.appendPlain(iPrefix);
    result = result != 0 ? result : fLine.appendFill('0', static_cast<std::size_t>(zeros));
    result = result != 0 ? result : fLine.appendPlain(iDigits);
    return result != 0 || !spec.left ? result : addPadding(all);
}

/// Adds the blanks that a text of iLen characters lacks to the width.
int PLogField::addPadding(std::size_t iLen) noexcept
{
    const auto width = static_cast<std::size_t>(spec.width);
    return width > iLen ? fLine.appendFill(' ', width - iLen) : 0;
}

int PLogField::addNull(std::size_t iMost) noexcept
{
    constexpr std::wstring_view kNull = L"(null)";
    return addPadded(kNull.data(), iMost >= kNull.size() ? kNull.size() : 0);
}

int PLogField::addWide(const wchar_t* iText, std::size_t iMost) noexcept
{
    if (!iText)
    {
        return addNull(iMost);
    }
    return addPadded(iText, iMost == kNoLimit ? std::wcslen(iText) : ::wcsnlen(iText, iMost));
}

int PLogField::addPadded(const wchar_t* iText, std::size_t iLen) noexcept
{
    int result = spec.left ? 0 : addPadding(iLen);
    result = result != 0 ? result : fLine.append(iText, iLen);
    return result != 0 || !spec.left ? result : addPadding(iLen);
}

int PLogField::addNarrow(const char* iText, std::size_t iMost) noexcept
{
    if (!iText)
    {
        return addNull(iMost);
    }
    const std::size_t size = spec.width > 0 ? PLogNarrow::count(iText, iMost) : iMost;
    int result = spec.left ? 0 : addPadding(size);
    PLogNarrow text(iText);
    wchar_t part[kNarrowRun];
    for (std::size_t rest = iMost; result == 0 && rest > 0;)
    {
        const std::size_t len = text.read(part, std::min(rest, kNarrowRun));
        result = fLine.append(part, len);
        rest = len < kNarrowRun ? 0 : rest - len;
    }
    return result != 0 || !spec.left ? result : addPadding(size);
}
