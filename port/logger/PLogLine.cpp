#include "PLogLine.h"

#include "portinglayer/PUtf8.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <new>

namespace
{
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

void PLogLine::add(std::string_view iBytes) noexcept
{
    std::memcpy(fBytes + fSize, iBytes.data(), iBytes.size());
    fSize += iBytes.size();
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
    std::size_t begin = 0;
    for (std::size_t i = 0; i < iLen; ++i)
    {
        const char letter = _escapeLetter(iText[i]);
        if (letter == 0)
        {
            continue;
        }
        fSize += PUtf8::encodeLine(iText + begin, i - begin, fBytes + fSize);
        add('\\');
        add(letter);
        begin = i + 1;
    }
    fSize += PUtf8::encodeLine(iText + begin, iLen - begin, fBytes + fSize);
}
