// SPDX-License-Identifier: MIT
// The functions of the C library that read and write memory for their callers: accesses that the
// compiler does not instrument. They are written out, because the C library's own are chosen at run
// time.

#include "Export.h"
#include "Race.h"

#include <cstddef>
#include <cwchar>

using schedules::Race;

namespace
{
void _read(const void* iMemory, std::size_t iSize, std::uintptr_t iFrom)
{
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(iMemory);
    if (schedules::Scheduler::current() && !Race::isExcluded(address))
    {
        Race::read(address, iSize, iFrom);
    }
}

void _write(const void* iMemory, std::size_t iSize, std::uintptr_t iFrom)
{
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(iMemory);
    if (schedules::Scheduler::current() && !Race::isExcluded(address))
    {
        Race::write(address, iSize, iFrom);
    }
}

template <class T>
void _copy(T* oTo, const T* iFrom, std::size_t iCount)
{
    if (oTo <= iFrom)
    {
        for (std::size_t i = 0; i < iCount; ++i)
        {
            oTo[i] = iFrom[i];
        }
        return;
    }
    for (std::size_t i = iCount; i > 0; --i)
    {
        oTo[i - 1] = iFrom[i - 1];
    }
}

template <class T>
int _compare(const T* iLeft, const T* iRight, std::size_t iCount)
{
    for (std::size_t i = 0; i < iCount; ++i)
    {
        if (iLeft[i] != iRight[i])
        {
            return iLeft[i] < iRight[i] ? -1 : 1;
        }
    }
    return 0;
}

template <class T>
std::size_t _length(const T* iText)
{
    std::size_t length = 0;
    while (iText[length] != 0)
    {
        ++length;
    }
    return length;
}

using Bytes = unsigned char*;
using ConstBytes = const unsigned char*;
} // namespace

SCHEDULES_EXPORT void* memmove(void* oTo, const void* iFrom, std::size_t iSize)
{
    _read(iFrom, iSize, SCHEDULES_CALLER);
    _write(oTo, iSize, SCHEDULES_CALLER);
    _copy(static_cast<Bytes>(oTo), static_cast<ConstBytes>(iFrom), iSize);
    return oTo;
}

SCHEDULES_EXPORT void* memcpy(void* __restrict oTo, const void* __restrict iFrom, std::size_t iSize)
{
    _read(iFrom, iSize, SCHEDULES_CALLER);
    _write(oTo, iSize, SCHEDULES_CALLER);
    _copy(static_cast<Bytes>(oTo), static_cast<ConstBytes>(iFrom), iSize);
    return oTo;
}

SCHEDULES_EXPORT void* memset(void* oMemory, int iValue, std::size_t iSize)
{
    _write(oMemory, iSize, SCHEDULES_CALLER);
    volatile unsigned char* bytes = static_cast<Bytes>(oMemory);
    for (std::size_t i = 0; i < iSize; ++i)
    {
        bytes[i] = static_cast<unsigned char>(iValue);
    }
    return oMemory;
}

SCHEDULES_EXPORT int memcmp(const void* iLeft, const void* iRight, std::size_t iSize)
{
    _read(iLeft, iSize, SCHEDULES_CALLER);
    _read(iRight, iSize, SCHEDULES_CALLER);
    return _compare(static_cast<ConstBytes>(iLeft), static_cast<ConstBytes>(iRight), iSize);
}

SCHEDULES_EXPORT std::size_t strlen(const char* iText)
{
    const std::size_t length = _length(iText);
    _read(iText, length + 1, SCHEDULES_CALLER);
    return length;
}

SCHEDULES_EXPORT std::size_t wcslen(const wchar_t* iText)
{
    const std::size_t length = _length(iText);
    _read(iText, (length + 1) * sizeof(wchar_t), SCHEDULES_CALLER);
    return length;
}

SCHEDULES_EXPORT wchar_t* wmemcpy(wchar_t* __restrict oTo, const wchar_t* __restrict iFrom,
                                  std::size_t iCount)
{
    _read(iFrom, iCount * sizeof(wchar_t), SCHEDULES_CALLER);
    _write(oTo, iCount * sizeof(wchar_t), SCHEDULES_CALLER);
    _copy(oTo, iFrom, iCount);
    return oTo;
}

SCHEDULES_EXPORT wchar_t* wmemmove(wchar_t* oTo, const wchar_t* iFrom, std::size_t iCount)
{
    _read(iFrom, iCount * sizeof(wchar_t), SCHEDULES_CALLER);
    _write(oTo, iCount * sizeof(wchar_t), SCHEDULES_CALLER);
    _copy(oTo, iFrom, iCount);
    return oTo;
}

SCHEDULES_EXPORT int wmemcmp(const wchar_t* iLeft, const wchar_t* iRight, std::size_t iCount)
{
    _read(iLeft, iCount * sizeof(wchar_t), SCHEDULES_CALLER);
    _read(iRight, iCount * sizeof(wchar_t), SCHEDULES_CALLER);
    return _compare(iLeft, iRight, iCount);
}
