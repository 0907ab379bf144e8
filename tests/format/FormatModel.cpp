// SPDX-License-Identifier: MIT
#include "format/FormatModel.h"

#include "logger/PLogFormat.h"
#include "logger/PLogLine.h"
#include "portinglayer/PUtf8.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <optional>
#include <vector>

namespace
{
constexpr int kLargestSize = 300;
constexpr int kWitness = 4711; // the last argument: shows that the others were taken completely
constexpr std::size_t kMostText = 8192;

std::string _ours(const wchar_t* iFormat, ...)
{
    char room[100];
    PLogLine line(room, sizeof room);
    va_list args;
    va_start(args, iFormat);
    static_cast<void>(PLogFormat::append(iFormat, args, line));
    va_end(args);
    return std::string(line.bytes());
}

std::string _theirs(const wchar_t* iFormat, ...)
{
    std::vector<wchar_t> text(kMostText);
    va_list args;
    va_start(args, iFormat);
    const int size = std::vswprintf(text.data(), text.size(), iFormat, args);
    va_end(args);
    const wchar_t* const shown = size < 0 ? iFormat : text.data();
    const std::size_t len = size < 0 ? std::wcslen(iFormat) : static_cast<std::size_t>(size);
    PLogLine line(len * PLogLine::eMaxBytes + 1);
    line.addText(shown, len);
    return std::string(line.bytes());
}

/// The conversion that some bytes stand for.
class Case
{
public:
    explicit Case(std::string_view iBytes) : fBytes(iBytes)
    {
    }

    std::string difference();

private:
    template <class... TArgument>
    std::string compare(TArgument... iArguments) const;
    template <class TArgument>
    std::string compareWith(TArgument iArgument) const;
    std::string compareNumber(int iLength);
    std::string compareFloating(bool iIsLong);
    std::string compareCharacter(bool iIsWide);
    std::string compareText(bool iIsWide);

    unsigned int take();
    std::uint64_t takeNumber();
    std::wstring takeText();
    void addLiteral();
    void addSize(std::optional<int>& oStar);

    std::string_view fBytes;
    std::wstring fFormat;
    std::optional<int> fWidth;     ///< for "*"
    std::optional<int> fPrecision; ///< for ".*"
};

unsigned int Case::take()
{
    const unsigned int byte = fBytes.empty() ? 0 : static_cast<unsigned char>(fBytes[0]);
    fBytes.remove_prefix(fBytes.empty() ? 0 : 1);
    return byte;
}

/// Small, large and typical numbers alike.
std::uint64_t Case::takeNumber()
{
    const unsigned int bytes = take() % 9;
    std::uint64_t number = 0;
    for (unsigned int i = 0; i < bytes; ++i)
    {
        number = number << 8 | take();
    }
    const unsigned int form = take() % 4;
    return form == 0 ? number : form == 1 ? 0 - number : form == 2 ? ~std::uint64_t{0} >> bytes : 0;
}

std::wstring Case::takeText()
{
    std::wstring text(fBytes.size(), L'\0');
    text.resize(PUtf8::decodePath(fBytes.data(), fBytes.size(), text.data()));
    return text.substr(0, text.find(L'\0'));
}

void Case::addLiteral()
{
    constexpr const wchar_t* kLiterals[] = {L"",       L"a",      L"\\",    L"\\\\", L"%%",   L"\n",
                                            L"\\\x7F", L"\u00e4", L"text ", L"\\x",  L"%%\\", L"0"};
    fFormat += kLiterals[take() % std::size(kLiterals)];
}

void Case::addSize(std::optional<int>& oStar)
{
    const unsigned int form = take();
    const int size = static_cast<int>(take() * 256 + take()) % kLargestSize;
    if (form % 4 == 0)
    {
        oStar = form % 8 == 0 ? -size : size;
        fFormat += L'*';
    }
    else if (form % 4 != 1)
    {
        fFormat += std::to_wstring(form % 4 == 2 ? size % 12 : size);
    }
}

template <class... TArgument>
std::string Case::compare(TArgument... iArguments) const
{
    const std::string ours = _ours(fFormat.c_str(), iArguments..., kWitness);
    const std::string theirs = _theirs(fFormat.c_str(), iArguments..., kWitness);
    if (ours == theirs)
    {
        return std::string();
    }
    std::string format;
    for (const wchar_t character : fFormat)
    {
        format += character < 0x80 ? static_cast<char>(character) : '?';
    }
    for (const std::optional<int>& star : {fWidth, fPrecision})
    {
        format += star ? ' ' + std::to_string(*star) : "";
    }
    return format + "\nlogger    [" + ours + "]\nC library [" + theirs + "]\n";
}

template <class TArgument>
std::string Case::compareWith(TArgument iArgument) const
{
    if (fWidth)
    {
        return fPrecision ? compare(*fWidth, *fPrecision, iArgument) : compare(*fWidth, iArgument);
    }
    return fPrecision ? compare(*fPrecision, iArgument) : compare(iArgument);
}

std::string Case::compareNumber(int iLength)
{
    const std::uint64_t number = takeNumber();
    const bool isLongLong = iLength == 4 || iLength == 5;
    if (isLongLong && number == 0 && fFormat.find(L'0') != std::wstring::npos)
    {
        return std::string(); // the C library of 32 bits shows no digit for L"%0lld"
    }
    switch (iLength)
    {
    case 3:
        return compareWith(static_cast<long>(number));
    case 4:
    case 5:
        return compareWith(static_cast<long long>(number));
    case 6:
    case 7:
        return compareWith(static_cast<std::ptrdiff_t>(number));
    default:
        return compareWith(static_cast<int>(number));
    }
}

std::string Case::compareFloating(bool iIsLong)
{
    double number = 0;
    const std::uint64_t bits = takeNumber();
    static_assert(sizeof number == sizeof bits);
    const bool isRaw = take() % 2 == 0;
    if (isRaw)
    {
        std::memcpy(&number, &bits, sizeof number);
    }
    else
    {
        number = static_cast<double>(static_cast<std::int64_t>(bits)) / 1000;
    }
    return iIsLong ? compareWith(static_cast<long double>(number)) : compareWith(number);
}

std::string Case::compareCharacter(bool iIsWide)
{
    const std::uint64_t number = takeNumber();
    return iIsWide ? compareWith(static_cast<std::wint_t>(number))
                   : compareWith(static_cast<int>(number % 0x80));
}

std::string Case::compareText(bool iIsWide)
{
    if (take() % 16 == 0)
    {
        return compareWith(static_cast<const void*>(nullptr));
    }
    const std::wstring text = takeText();
    if (iIsWide)
    {
        return compareWith(text.c_str());
    }
    std::wstring valid;
    for (const wchar_t character : text)
    {
        valid += character >= 0xD800 && character <= 0xDFFF ? L'?' : character;
    }
    std::string narrow(valid.size() * PUtf8::eMaxBytes + 1, '\0');
    static_cast<void>(PUtf8::encodePath(valid.data(), valid.size(), narrow.data()));
    return compareWith(narrow.c_str());
}

std::string Case::difference()
{
    constexpr const wchar_t* kLengths[] = {L"", L"hh", L"h", L"l", L"ll", L"j", L"z", L"t"};
    constexpr std::wstring_view kFlags = L"-+ #0'";
    constexpr std::wstring_view kKinds = L"diuxXocsCSpeEfFgGaA%";
    addLiteral();
    fFormat += L'%';
    for (unsigned int flags = take(), i = 0; i < kFlags.size(); ++i)
    {
        fFormat += (flags >> i & 1u) != 0 ? std::wstring(1, kFlags[i]) : std::wstring();
    }
    addSize(fWidth);
    if (take() % 2 == 0)
    {
        fFormat += L'.';
        addSize(fPrecision);
    }
    const wchar_t kind = kKinds[take() % kKinds.size()];
    const unsigned int length = take() % std::size(kLengths);
    const bool isNumber = std::wstring_view(L"diuxXo").find(kind) != std::wstring_view::npos;
    const bool isText = kind == L's' || kind == L'c';
    const bool isWide = (isText && length % 2 == 1) || kind == L'S' || kind == L'C';
    const bool isFloating = std::wstring_view(L"eEfFgGaA").find(kind) != std::wstring_view::npos;
    fFormat += isNumber                        ? kLengths[length]
               : isText && isWide              ? L"l"
               : isFloating && length % 4 == 1 ? L"L"
               : isFloating && length % 4 == 2 ? L"l"
                                               : L"";
    fFormat += kind;
    addLiteral();
    fFormat += L"%d";
    addLiteral();
    if (kind == L'%')
    {
        return fWidth || fPrecision ? std::string() : compare();
    }
    return isNumber     ? compareNumber(static_cast<int>(length))
           : isFloating ? compareFloating(length % 4 == 1)
           : kind == L'p'
               ? compareWith(reinterpret_cast<void*>(static_cast<std::uintptr_t>(takeNumber())))
           : kind == L'c' || kind == L'C' ? compareCharacter(isWide)
                                          : compareText(isWide);
}
} // namespace

std::string FormatModel::difference(std::string_view iBytes)
{
    return Case(iBytes).difference();
}
