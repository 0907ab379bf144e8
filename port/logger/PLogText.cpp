// SPDX-License-Identifier: MIT
#include "PLogText.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>

PLogText::PLogText(const wchar_t* iFormat, va_list iArgs) noexcept
    : fText(nullptr), fLen(0), fLong(nullptr)
{
    va_list again;
    va_copy(again, iArgs);
    if (!formatShort(iFormat, iArgs))
    {
        static_cast<void>(formatLong(iFormat, again));
    }
    va_end(again);
}

PLogText::~PLogText()
{
    std::free(fLong);
}

bool PLogText::formatShort(const wchar_t* iFormat, va_list iArgs) noexcept
{
    const int length = std::vswprintf(fShort, eShort + 1, iFormat, iArgs);
    if (length < 0)
    {
        return false;
    }
    fText = fShort;
    fLen = static_cast<std::size_t>(length);
    return true;
}

bool PLogText::formatLong(const wchar_t* iFormat, va_list iArgs) noexcept
{
    std::size_t size = 0;
    std::FILE* stream = ::open_wmemstream(&fLong, &size);
    if (!stream)
    {
        return false;
    }
    const int length = std::vfwprintf(stream, iFormat, iArgs);
    if (std::fclose(stream) != 0 || length < 0 || !fLong)
    {
        return false;
    }
    fText = fLong;
    fLen = static_cast<std::size_t>(length);
    return true;
}
