// SPDX-License-Identifier: MIT
#include "PPathBytes.h"

#include "PErrno.h"
#include "PUtf8.h"

#include <cstring>

namespace
{
/// The number of bytes of a character in a path.
std::size_t _encodedSize(wchar_t iChar)
{
    const bool standsForByte = iChar >= 0xDC80 && iChar <= 0xDCFF;
    if (iChar < 0x80 || standsForByte)
    {
        return 1;
    }
    if (iChar < 0x800)
    {
        return 2;
    }
    return iChar < 0x10000 ? 3 : 4;
}

std::size_t _encodedSize(const PLiteral& iPath)
{
    std::size_t size = 0;
    for (unsigned int i = 0; i < iPath.len() && size < PATH_MAX; ++i)
    {
        size += _encodedSize(iPath.ptr()[i]);
    }
    return size;
}
} // namespace

PPathBytes::PPathBytes(const PLiteral& iPath, const char* iPrefix) noexcept : fResult(0)
{
    const std::size_t prefix = std::strlen(iPrefix);
    // The characters are counted only for a text that might not fit.
    if (iPath.len() >= (sizeof fBytes - prefix) / PUtf8::eMaxBytes &&
        prefix + _encodedSize(iPath) >= sizeof fBytes)
    {
        fResult = PErrno::code(ENAMETOOLONG);
        return;
    }
    std::memcpy(fBytes, iPrefix, prefix);
    if (PUtf8::encodePath(iPath.ptr(), iPath.len(), fBytes + prefix) == PUtf8::eNoPath)
    {
        fResult = PErrno::code(EINVAL);
    }
}
