#include "PPathBytes.h"

#include "PErrno.h"
#include "PUtf8.h"

#include <cstdint>
#include <cstring>
#include <new>

PPathBytes::PPathBytes(const PLiteral& iPath, const char* iPrefix) noexcept
    : fBytes(fShort), fResult(0)
{
    const std::size_t prefix = std::strlen(iPrefix);
    const unsigned long long size =
        prefix + static_cast<unsigned long long>(iPath.len()) * PUtf8::eMaxBytes + 1;
    if (size > sizeof fShort)
    {
        fBytes =
            size <= PTRDIFF_MAX ? new (std::nothrow) char[static_cast<std::size_t>(size)] : nullptr;
    }
    if (!fBytes)
    {
        fResult = PErrno::code(ENOMEM);
        return;
    }
    std::memcpy(fBytes, iPrefix, prefix);
    if (PUtf8::encodePath(iPath.ptr(), iPath.len(), fBytes + prefix) == PUtf8::eNoPath)
    {
        fResult = PErrno::code(EINVAL);
    }
}

PPathBytes::~PPathBytes()
{
    if (fBytes != fShort)
    {
        delete[] fBytes;
    }
}
