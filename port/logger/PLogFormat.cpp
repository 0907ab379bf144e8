// SPDX-License-Identifier: MIT
#include "PLogFormat.h"

#include "PLogLine.h"
#include "PLogNarrow.h"
#include "PLogText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cwchar>
#include <limits>

namespace
{
constexpr int kMostSize = 1 << 20; // wider conversions are left to the C library
constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kMostDigits = 22; // of 64 bits in octal
constexpr std::size_t kNarrowRun = 64;  // the characters of a narrow text that are read at once
constexpr std::size_t kShort = 32;      // the characters of a number that is composed at once
constexpr std::uint32_t kMostShort = std::numeric_limits<std::uint32_t>::max();

bool _isDigit(wchar_t iChar)
{
    return iChar >= L'0' && iChar <= L'9';
}

/// Reads decimal digits. False for a number beyond kMostSize and for a position of an argument.
bool _readNumber(const wchar_t*& ioAt, int& oNumber)
{
    oNumber = 0;
    for (; _isDigit(*ioAt); ++ioAt)
    {
        oNumber = oNumber * 10 + static_cast<int>(*ioAt - L'0');
        if (oNumber > kMostSize)
        {
            return false;
        }
    }
    return *ioAt != L'$';
}

/// Formats with the C library; positive if it refuses.
[[gnu::noinline, gnu::cold]] int _appendByLibrary(PLogLine& ioLine, const wchar_t* iFormat,
                                                  va_list iArgs)
{
    const PLogText text(iFormat, iArgs);
    return text.isFormatted() ? ioLine.append(text.ptr(), text.len()) : 1;
}

[[gnu::cold]] int _appendOne(PLogLine& ioLine, const wchar_t* iFormat, ...)
{
    va_list args;
    va_start(args, iFormat);
    const int result = _appendByLibrary(ioLine, iFormat, args);
    va_end(args);
    return result;
}

char _upper(char iDigit)
{
    return iDigit >= 'a' ? static_cast<char>(iDigit - 'a' + 'A') : iDigit;
}
} // namespace

PLogFormat::PLogFormat(PLogLine& ioLine, va_list iArgs) noexcept : fLine(ioLine)
{
    va_copy(fArgs, iArgs);
}

PLogFormat::~PLogFormat()
{
    va_end(fArgs);
}

int PLogFormat::append(const wchar_t* iFormat, va_list iArgs, PLogLine& ioLine) noexcept
{
    const wchar_t* const format = iFormat ? iFormat : L"";
    const std::size_t begin = ioLine.bytes().size();
    int result = PLogFormat(ioLine, iArgs).addAll(format);
    if (result == eOther)
    {
        ioLine.shorten(begin);
        result = PLogSpec::hasCount(format) ? eWrong : _appendByLibrary(ioLine, format, iArgs);
    }
    if (result > 0)
    {
        ioLine.shorten(begin);
        result = ioLine.append(format, std::wcslen(format));
    }
    return result != 0 ? result : ioLine.endText();
}

int PLogFormat::addAll(const wchar_t* iFormat) noexcept
{
    const wchar_t* at = iFormat;
    int result = fLine.appendLiteral(at);
    while (result == 0 && *at != L'\0')
    {
        result = addConversion(++at);
        result = result != 0 ? result : fLine.appendLiteral(at);
    }
    return result;
}

int PLogFormat::readSpec(const wchar_t*& ioAt) noexcept
{
    // All characters of flags and sizes are before the letters.
    if (*ioAt < L'A')
    {
        ioAt = fSpec.readFlags(ioAt);
        int result = readWidth(ioAt);
        result = result != 0 ? result : readPrecision(ioAt);
        if (result != 0)
        {
            return result;
        }
    }
    ioAt = fSpec.readKind(ioAt);
    return 0;
}

int PLogFormat::readWidth(const wchar_t*& ioAt) noexcept
{
    if (*ioAt != L'*')
    {
        return _readNumber(ioAt, fSpec.width) ? 0 : eOther;
    }
    if (_isDigit(*++ioAt))
    {
        return eOther; // the position of an argument
    }
    const int width = va_arg(fArgs, int);
    if (width < -kMostSize || width > kMostSize)
    {
        return eOther;
    }
    fSpec.left = fSpec.left || width < 0;
    fSpec.width = width < 0 ? -width : width;
    return 0;
}

int PLogFormat::readPrecision(const wchar_t*& ioAt) noexcept
{
    if (*ioAt != L'.')
    {
        return 0;
    }
    if (*++ioAt != L'*')
    {
        return _readNumber(ioAt, fSpec.precision) ? 0 : eOther;
    }
    if (_isDigit(*++ioAt))
    {
        return eOther; // the position of an argument
    }
    fSpec.precision = std::max(va_arg(fArgs, int), -1);
    return 0;
}

/// Adds the conversion whose percent sign is before ioAt, and moves ioAt behind it.
int PLogFormat::addConversion(const wchar_t*& ioAt) noexcept
{
    switch (*ioAt)
    {
    case L'%':
        ++ioAt;
        return fLine.appendPlain("%");
    case L'd':
        ++ioAt;
        return addInt(va_arg(fArgs, int));
    case L'l':
        if (ioAt[1] == L's')
        {
            ioAt += 2;
            return addWide(va_arg(fArgs, const wchar_t*), kNoLimit);
        }
        break;
    default:
        break;
    }
    int result = readSpec(ioAt);
    result = result != 0 ? result : addArgument();
    fSpec = PLogSpec();
    return result;
}

int PLogFormat::addInt(int iNumber) noexcept
{
    const auto bits = static_cast<std::uint32_t>(iNumber);
    return iNumber < 0 ? addShort(0 - bits, "-") : addShort(bits, "");
}

int PLogFormat::addArgument() noexcept
{
    switch (fSpec.kind)
    {
    case L'd':
    case L'i':
        return addSigned();
    case L'u':
        return addUnsigned(10);
    case L'x':
    case L'X':
        return addUnsigned(16);
    case L'o':
        return addUnsigned(8);
    case L'c':
    case L'C':
        return addCharacter();
    case L's':
    case L'S':
        return addText();
    case L'p':
        return addPointer();
    case L'e':
    case L'E':
    case L'f':
    case L'F':
    case L'g':
    case L'G':
    case L'a':
    case L'A':
        return addFloating();
    case L'n':
        return eWrong;
    default:
        return eOther;
    }
}

int PLogFormat::addSigned() noexcept
{
    const long long number = takeSigned();
    const bool isNegative = number < 0;
    const auto bits = static_cast<unsigned long long>(number);
    return addNumber(isNegative ? 0 - bits : bits, 10, isNegative ? "-" : sign());
}

int PLogFormat::addUnsigned(unsigned int iBase) noexcept
{
    const unsigned long long number = takeUnsigned();
    const bool isMarked = iBase == 16 && fSpec.alternate && number != 0;
    const std::string_view mark = fSpec.kind == L'X' ? "0X" : "0x";
    return addNumber(number, iBase, isMarked ? mark : "");
}

int PLogFormat::addPointer() noexcept
{
    if (fSpec.length != PLogSpec::eInt)
    {
        return eOther;
    }
    const auto number = reinterpret_cast<std::uintptr_t>(va_arg(fArgs, void*));
    if (number == 0)
    {
        return addPadded(L"(nil)", 5);
    }
    std::array<char, 3> prefix{};
    const std::string_view before = sign();
    const std::size_t size = before.copy(prefix.data(), 1);
    prefix[size] = '0';
    prefix[size + 1] = 'x';
    return addNumber(number, 16, std::string_view(prefix.data(), size + 2));
}

/// The prefix of a number that is not negative.
std::string_view PLogFormat::sign() const noexcept
{
    return fSpec.plus ? "+" : fSpec.blank ? " " : "";
}

int PLogFormat::addNumber(unsigned long long iNumber, unsigned int iBase,
                          std::string_view iPrefix) noexcept
{
    if (fSpec.length == PLogSpec::eLongDouble || fSpec.precision > kMostSize)
    {
        return eOther;
    }
    if (iBase == 10 && iNumber <= kMostShort && isShort())
    {
        return addShort(static_cast<std::uint32_t>(iNumber), iPrefix);
    }
    std::array<char, kMostDigits> digits;
    char* const begin = digits.data();
    char* end = begin;
    if (iNumber != 0 || fSpec.precision != 0)
    {
        // The digits of a smaller type take much less time on 32 bits.
        const bool isSmall = iNumber <= std::numeric_limits<unsigned long>::max();
        end = isSmall
                  ? std::to_chars(begin, begin + kMostDigits, static_cast<unsigned long>(iNumber),
                                  static_cast<int>(iBase))
                        .ptr
                  : std::to_chars(begin, begin + kMostDigits, iNumber, static_cast<int>(iBase)).ptr;
    }
    if (fSpec.kind == L'X')
    {
        std::transform(begin, end, begin, &_upper);
    }
    const int size = static_cast<int>(end - begin);
    const bool needsZero = iBase == 8 && fSpec.alternate && (size == 0 || digits[0] != '0');
    return addDigits(iPrefix, std::string_view(begin, static_cast<std::size_t>(size)),
                     needsZero ? size + 1 : 0);
}

/// Whether a decimal number of 32 bits with its zeros and blanks fits into kShort characters, and
/// needs none at its end.
bool PLogFormat::isShort() const noexcept
{
    constexpr auto kMost = static_cast<int>(kShort);
    return fSpec.width <= kMost && fSpec.precision <= kMost - 1 && fSpec.precision != 0 &&
           !fSpec.left;
}

/// Adds a decimal number for which isShort is true. iPrefix has at most one character.
int PLogFormat::addShort(std::uint32_t iNumber, std::string_view iPrefix) noexcept
{
    char text[kShort];
    char* const end = text + kShort;
    char* begin = end;
    for (std::uint32_t rest = iNumber; begin == end || rest > 0; rest /= 10)
    {
        *--begin = static_cast<char>('0' + rest % 10);
    }
    const int filled = fSpec.zero ? fSpec.width - static_cast<int>(iPrefix.size()) : 0;
    const int digits = fSpec.precision < 0 ? filled : fSpec.precision;
    while (end - begin < digits)
    {
        *--begin = '0';
    }
    if (!iPrefix.empty())
    {
        *--begin = iPrefix[0];
    }
    while (end - begin < fSpec.width)
    {
        *--begin = ' ';
    }
    return fLine.appendPlain(std::string_view(begin, static_cast<std::size_t>(end - begin)));
}

/// Adds a number of at least iLeast digits with its prefix, and with the zeros and blanks of the
/// conversion.
int PLogFormat::addDigits(std::string_view iPrefix, std::string_view iDigits, int iLeast) noexcept
{
    const auto size = static_cast<int>(iDigits.size());
    const auto prefix = static_cast<int>(iPrefix.size());
    const bool isFilled = fSpec.zero && !fSpec.left && fSpec.precision < 0;
    const int least = std::max(isFilled ? fSpec.width - prefix : fSpec.precision, iLeast);
    const int zeros = std::max(least - size, 0);
    const auto all = static_cast<std::size_t>(prefix + zeros + size);
    int result = fSpec.left ? 0 : addPadding(all);
    result = result != 0 ? result : fLine.appendPlain(iPrefix);
    result = result != 0 ? result : fLine.appendFill('0', static_cast<std::size_t>(zeros));
    result = result != 0 ? result : fLine.appendPlain(iDigits);
    return result != 0 || !fSpec.left ? result : addPadding(all);
}

/// Adds the blanks that a text of iLen characters lacks to the width.
int PLogFormat::addPadding(std::size_t iLen) noexcept
{
    const auto width = static_cast<std::size_t>(fSpec.width);
    return width > iLen ? fLine.appendFill(' ', width - iLen) : 0;
}

int PLogFormat::addCharacter() noexcept
{
    const bool isWide = fSpec.kind == L'C' || fSpec.length == PLogSpec::eLong;
    if (fSpec.length != PLogSpec::eInt && !isWide)
    {
        return eOther;
    }
    if (isWide)
    {
        const std::wint_t wide = va_arg(fArgs, std::wint_t);
        const auto character = static_cast<wchar_t>(wide);
        return wide == WEOF ? eWrong : addPadded(&character, 1);
    }
    const auto byte = static_cast<unsigned char>(va_arg(fArgs, int));
    const auto character = static_cast<wchar_t>(byte < 0x80 ? byte : 0xDC00 + byte);
    return addPadded(&character, 1);
}

int PLogFormat::addText() noexcept
{
    const bool isWide = fSpec.kind == L'S' || fSpec.length == PLogSpec::eLong;
    if (fSpec.length != PLogSpec::eInt && !isWide)
    {
        return eOther;
    }
    const std::size_t most =
        fSpec.precision < 0 ? kNoLimit : static_cast<std::size_t>(fSpec.precision);
    return isWide ? addWide(va_arg(fArgs, const wchar_t*), most)
                  : addNarrow(va_arg(fArgs, const char*), most);
}

int PLogFormat::addNull(std::size_t iMost) noexcept
{
    constexpr std::wstring_view kNull = L"(null)";
    return addPadded(kNull.data(), iMost >= kNull.size() ? kNull.size() : 0);
}

int PLogFormat::addWide(const wchar_t* iText, std::size_t iMost) noexcept
{
    if (!iText)
    {
        return addNull(iMost);
    }
    return addPadded(iText, iMost == kNoLimit ? std::wcslen(iText) : ::wcsnlen(iText, iMost));
}

int PLogFormat::addPadded(const wchar_t* iText, std::size_t iLen) noexcept
{
    int result = fSpec.left ? 0 : addPadding(iLen);
    result = result != 0 ? result : fLine.append(iText, iLen);
    return result != 0 || !fSpec.left ? result : addPadding(iLen);
}

int PLogFormat::addNarrow(const char* iText, std::size_t iMost) noexcept
{
    if (!iText)
    {
        return addNull(iMost);
    }
    const std::size_t size = fSpec.width > 0 ? PLogNarrow::count(iText, iMost) : iMost;
    int result = fSpec.left ? 0 : addPadding(size);
    PLogNarrow text(iText);
    wchar_t part[kNarrowRun];
    for (std::size_t rest = iMost; result == 0 && rest > 0;)
    {
        const std::size_t len = text.read(part, std::min(rest, kNarrowRun));
        result = fLine.append(part, len);
        rest = len < kNarrowRun ? 0 : rest - len;
    }
    return result != 0 || !fSpec.left ? result : addPadding(size);
}

/// Formats one floating-point number with the C library.
int PLogFormat::addFloating() noexcept
{
    const bool isLong = fSpec.length == PLogSpec::eLongDouble;
    if (!isLong && fSpec.length != PLogSpec::eInt && fSpec.length != PLogSpec::eLong)
    {
        return eOther;
    }
    std::array<wchar_t, 16> format{};
    wchar_t* at = format.data();
    *at++ = L'%';
    const auto addIf = [&at](bool iIsSet, wchar_t iFlag)
    {
        *at = iFlag;
        at += iIsSet ? 1 : 0;
    };
    addIf(fSpec.left, L'-');
    addIf(fSpec.plus, L'+');
    addIf(fSpec.blank, L' ');
    addIf(fSpec.alternate, L'#');
    addIf(fSpec.zero, L'0');
    at = std::copy_n(L"*.*", 3, at);
    addIf(isLong, L'L');
    *at++ = fSpec.kind;
    *at = L'\0';
    const int width = fSpec.width;
    const int precision = fSpec.precision;
    return isLong ? _appendOne(fLine, format.data(), width, precision, va_arg(fArgs, long double))
                  : _appendOne(fLine, format.data(), width, precision, va_arg(fArgs, double));
}

long long PLogFormat::takeSigned() noexcept
{
    switch (fSpec.length)
    {
    case PLogSpec::eChar:
        return static_cast<signed char>(va_arg(fArgs, int));
    case PLogSpec::eShort:
        return static_cast<short>(va_arg(fArgs, int));
    case PLogSpec::eLong:
        return va_arg(fArgs, long);
    case PLogSpec::eLongLong:
        return va_arg(fArgs, long long);
    case PLogSpec::eMax:
        return va_arg(fArgs, std::intmax_t);
    case PLogSpec::eSize:
    case PLogSpec::eDifference:
        return va_arg(fArgs, std::ptrdiff_t);
    default:
        return va_arg(fArgs, int);
    }
}

unsigned long long PLogFormat::takeUnsigned() noexcept
{
    switch (fSpec.length)
    {
    case PLogSpec::eChar:
        return static_cast<unsigned char>(va_arg(fArgs, int));
    case PLogSpec::eShort:
        return static_cast<unsigned short>(va_arg(fArgs, int));
    case PLogSpec::eLong:
        return va_arg(fArgs, unsigned long);
    case PLogSpec::eLongLong:
        return va_arg(fArgs, unsigned long long);
    case PLogSpec::eMax:
        return va_arg(fArgs, std::uintmax_t);
    case PLogSpec::eSize:
    case PLogSpec::eDifference:
        return va_arg(fArgs, std::size_t);
    default:
        return va_arg(fArgs, unsigned int);
    }
}
