// SPDX-License-Identifier: MIT
#include "PLogFormat.h"

#include "PLogLine.h"
#include "PLogText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cwchar>
#include <limits>

namespace
{
constexpr int kMostSize = 1 << 20; // wider conversions are left to the C library

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
} // namespace

// The constructor copies the list, which the analyzer does not see. Types that are the same here are
// not on other systems.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized,bugprone-branch-clone)

PLogFormat::PLogFormat(PLogLine& ioLine, va_list iArgs) noexcept : fLine(ioLine), fField(ioLine)
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
        ioAt = fField.spec.readFlags(ioAt);
        int result = readWidth(ioAt);
        result = result != 0 ? result : readPrecision(ioAt);
        if (result != 0)
        {
            return result;
        }
    }
    ioAt = fField.spec.readKind(ioAt);
    return 0;
}

int PLogFormat::readWidth(const wchar_t*& ioAt) noexcept
{
    if (*ioAt != L'*')
    {
        return _readNumber(ioAt, fField.spec.width) ? 0 : eOther;
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
    fField.spec.left = fField.spec.left || width < 0;
    fField.spec.width = width < 0 ? -width : width;
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
        return _readNumber(ioAt, fField.spec.precision) ? 0 : eOther;
    }
    if (_isDigit(*++ioAt))
    {
        return eOther; // the position of an argument
    }
    fField.spec.precision = std::max(va_arg(fArgs, int), -1);
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
            return fField.addWide(va_arg(fArgs, const wchar_t*), PLogField::kNoLimit);
        }
        break;
    default:
        break;
    }
    int result = readSpec(ioAt);
    result = result != 0 ? result : addArgument();
    fField.spec = PLogSpec();
    return result;
}

int PLogFormat::addInt(int iNumber) noexcept
{
    const auto bits = static_cast<std::uint32_t>(iNumber);
    return iNumber < 0 ? fField.addShort(0 - bits, "-") : fField.addShort(bits, "");
}

int PLogFormat::addArgument() noexcept
{
    switch (fField.spec.kind)
    {
    case L'd':
    case L'i':
        return isNumber() ? addSigned() : eOther;
    case L'u':
        return isNumber() ? addUnsigned(10) : eOther;
    case L'x':
    case L'X':
        return isNumber() ? addUnsigned(16) : eOther;
    case L'o':
        return isNumber() ? addUnsigned(8) : eOther;
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

bool PLogFormat::isNumber() const noexcept
{
    return fField.spec.length != PLogSpec::eLongDouble && fField.spec.precision <= kMostSize;
}

int PLogFormat::addSigned() noexcept
{
    const long long number = takeSigned();
    const bool isNegative = number < 0;
    const auto bits = static_cast<unsigned long long>(number);
    return fField.addNumber(isNegative ? 0 - bits : bits, 10, isNegative ? "-" : fField.sign());
}

int PLogFormat::addUnsigned(unsigned int iBase) noexcept
{
    const unsigned long long number = takeUnsigned();
    const bool isMarked = iBase == 16 && fField.spec.alternate && number != 0;
    const std::string_view mark = fField.spec.kind == L'X' ? "0X" : "0x";
    return fField.addNumber(number, iBase, isMarked ? mark : "");
}

int PLogFormat::addPointer() noexcept
{
    if (fField.spec.length != PLogSpec::eInt || !isNumber())
    {
        return eOther;
    }
    const auto number = reinterpret_cast<std::uintptr_t>(va_arg(fArgs, void*));
    if (number == 0)
    {
        return fField.addPadded(L"(nil)", 5);
    }
    std::array<char, 3> prefix{};
    const std::string_view before = fField.sign();
    const std::size_t size = before.copy(prefix.data(), 1);
    prefix[size] = '0';
    prefix[size + 1] = 'x';
    return fField.addNumber(number, 16, std::string_view(prefix.data(), size + 2));
}

int PLogFormat::addCharacter() noexcept
{
    const bool isWide = fField.spec.kind == L'C' || fField.spec.length == PLogSpec::eLong;
    if (fField.spec.length != PLogSpec::eInt && !isWide)
    {
        return eOther;
    }
    if (isWide)
    {
        const std::wint_t wide = va_arg(fArgs, std::wint_t);
        const auto character = static_cast<wchar_t>(wide);
        return wide == WEOF ? eWrong : fField.addPadded(&character, 1);
    }
    const auto byte = static_cast<unsigned char>(va_arg(fArgs, int));
    const auto character = static_cast<wchar_t>(byte < 0x80 ? byte : 0xDC00 + byte);
    return fField.addPadded(&character, 1);
}

int PLogFormat::addText() noexcept
{
    const bool isWide = fField.spec.kind == L'S' || fField.spec.length == PLogSpec::eLong;
    if (fField.spec.length != PLogSpec::eInt && !isWide)
    {
        return eOther;
    }
    const std::size_t most = fField.spec.precision < 0
                                 ? PLogField::kNoLimit
                                 : static_cast<std::size_t>(fField.spec.precision);
    return isWide ? fField.addWide(va_arg(fArgs, const wchar_t*), most)
                  : fField.addNarrow(va_arg(fArgs, const char*), most);
}

/// Formats one floating-point number with the C library.
int PLogFormat::addFloating() noexcept
{
    const bool isLong = fField.spec.length == PLogSpec::eLongDouble;
    if (!isLong && fField.spec.length != PLogSpec::eInt && fField.spec.length != PLogSpec::eLong)
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
    addIf(fField.spec.left, L'-');
    addIf(fField.spec.plus, L'+');
    addIf(fField.spec.blank, L' ');
    addIf(fField.spec.alternate, L'#');
    addIf(fField.spec.zero, L'0');
    at = std::copy_n(L"*.*", 3, at);
    addIf(isLong, L'L');
    *at++ = fField.spec.kind;
    *at = L'\0';
    const int width = fField.spec.width;
    const int precision = fField.spec.precision;
    return isLong ? _appendOne(fLine, format.data(), width, precision, va_arg(fArgs, long double))
                  : _appendOne(fLine, format.data(), width, precision, va_arg(fArgs, double));
}

long long PLogFormat::takeSigned() noexcept
{
    switch (fField.spec.length)
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
    switch (fField.spec.length)
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

// NOLINTEND(clang-analyzer-valist.Uninitialized,bugprone-branch-clone)
