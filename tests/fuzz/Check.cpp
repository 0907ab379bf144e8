// SPDX-License-Identifier: MIT
#include "fuzz/Check.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace
{
/// Printable ASCII unchanged, everything else in hexadecimal.
template <class TText>
void _print(const char* iName, const TText& iText)
{
    std::fprintf(stderr, "%s (%zu):", iName, iText.size());
    for (const auto character : iText)
    {
        const auto code = sizeof character == 1 ? static_cast<unsigned char>(character)
                                                : static_cast<std::uint32_t>(character);
        const bool shown = code > 0x20 && code < 0x7F;
        std::fprintf(stderr, shown ? " %c" : " <%X>", static_cast<unsigned int>(code));
    }
    std::fputc('\n', stderr);
}

template <class TText>
void _checkSame(const TText& iFound, const TText& iExpected, const char* iWhat)
{
    if (iFound != iExpected)
    {
        _print("found", iFound);
        _print("expected", iExpected);
    }
    check(iFound == iExpected, iWhat);
}
} // namespace

void check(bool iHolds, const char* iWhat)
{
    if (!iHolds)
    {
        std::fprintf(stderr, "Doesn't hold: %s\n", iWhat);
        std::abort();
    }
}

void checkCode(int iFound, int iExpected, const char* iWhat)
{
    if (iFound != iExpected)
    {
        std::fprintf(stderr, "found %d expected %d\n", iFound, iExpected);
    }
    check(iFound == iExpected, iWhat);
}

void checkText(std::wstring_view iFound, std::wstring_view iExpected, const char* iWhat)
{
    _checkSame(iFound, iExpected, iWhat);
}

void checkBytes(const std::string& iFound, const std::string& iExpected, const char* iWhat)
{
    _checkSame(iFound, iExpected, iWhat);
}
