// SPDX-License-Identifier: MIT
#include "PString.h"

#include "PBlank.h"
#include "PErrno.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cwchar>
#include <new>

namespace
{
/// The longest text: its length fits in 31 bits and its buffer in half of the address space.
constexpr unsigned int kMaxLen = static_cast<unsigned int>(
    std::min<unsigned long long>(INT_MAX - 1, PTRDIFF_MAX / sizeof(wchar_t) - 1));

/// The first capacity of a growing text, in characters.
constexpr unsigned int kFirstGrowth = 15;

unsigned int _length(const wchar_t* iText, unsigned int iLen) noexcept
{
    if (!iText)
    {
        return 0;
    }
    return iLen != ~0u
               ? iLen
               : static_cast<unsigned int>(std::min<std::size_t>(std::wcslen(iText), UINT_MAX));
}

wchar_t* _allocate(unsigned int iCapacity) noexcept
{
    return iCapacity <= kMaxLen ? new (std::nothrow) wchar_t[iCapacity + 1u] : nullptr;
}

void _copy(wchar_t* oTarget, const wchar_t* iSource, unsigned int iLen) noexcept
{
    if (iLen > 0 && oTarget != iSource)
    {
        std::wmemmove(oTarget, iSource, iLen);
    }
}
} // namespace

PString::PString(const PLiteral& iText) : PString(iText.ptr(), iText.len())
{
}

PString::PString(const PString& iText) : PString(iText.ptr(), iText.len())
{
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor): a copy may throw std::bad_alloc
PString::PString(PString&& ioText) : PString()
{
    take(ioText);
}

PString::PString(const wchar_t* iText, unsigned int iLen) : PString()
{
    if (!assign(iText, _length(iText, iLen)))
    {
        throw std::bad_alloc();
    }
}

PString::PString(unsigned int iCapacity, wchar_t* iBuffer) noexcept
    : fCapacity(iCapacity & INT_MAX), fBorrowed(1)
{
    fPtr = iBuffer;
    *iBuffer = L'\0';
}

PString::~PString()
{
    freeBuffer();
}

PString& PString::operator=(const PLiteral& iText)
{
    if (!assign(iText.ptr(), iText.len()))
    {
        throw std::bad_alloc();
    }
    return *this;
}

PString& PString::operator=(const PString& iText)
{
    return *this = static_cast<const PLiteral&>(iText);
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor): a copy may throw std::bad_alloc
PString& PString::operator=(PString&& ioText)
{
    if (this != &ioText)
    {
        take(ioText);
    }
    return *this;
}

PString& PString::operator=(const wchar_t* iText)
{
    return *this = PLiteral(iText);
}

int PString::set(const PLiteral& iText, unsigned int iLen) noexcept
{
    return assign(iText.ptr(), std::min(iText.len(), iLen)) ? 0 : PErrno::code(ENOMEM);
}

int PString::set(const wchar_t* iText, unsigned int iLen) noexcept
{
    return assign(iText, _length(iText, iLen)) ? 0 : PErrno::code(ENOMEM);
}

int PString::cat(const PLiteral& iText) noexcept
{
    return append(iText.ptr(), iText.len()) ? 0 : PErrno::code(ENOMEM);
}

int PString::cat(const wchar_t* iText, unsigned int iLen) noexcept
{
    return append(iText, _length(iText, iLen)) ? 0 : PErrno::code(ENOMEM);
}

PString& PString::operator+=(const PLiteral& iText)
{
    if (!append(iText.ptr(), iText.len()))
    {
        throw std::bad_alloc();
    }
    return *this;
}

PString& PString::operator+=(const wchar_t* iText)
{
    return *this += PLiteral(iText);
}

int PString::reserve(unsigned int iLen) noexcept
{
    if (iLen <= fCapacity)
    {
        return 0;
    }
    wchar_t* const fresh = _allocate(iLen);
    if (!fresh)
    {
        return PErrno::code(ENOMEM);
    }
    _copy(fresh, fPtr, fLen);
    useBuffer(fresh, iLen);
    finish(fLen);
    return 0;
}

void PString::clear() noexcept
{
    finish(0);
}

void PString::trim() noexcept
{
    const PSpan kept = PBlank::trimmed(fPtr, fLen);
    _copy(buffer(), kept.text, kept.len);
    finish(kept.len);
}

// Frees the present buffer last, because iText may be in it.
bool PString::assign(const wchar_t* iText, unsigned int iLen) noexcept
{
    if (iLen > fCapacity)
    {
        wchar_t* const fresh = _allocate(iLen);
        if (!fresh)
        {
            return false;
        }
        _copy(fresh, iText, iLen);
        useBuffer(fresh, iLen);
    }
    else
    {
        _copy(buffer(), iText, iLen);
    }
    finish(iLen);
    return true;
}

bool PString::append(const wchar_t* iText, unsigned int iLen) noexcept
{
    if (iLen > kMaxLen - fLen)
    {
        return false;
    }
    const unsigned int len = fLen + iLen;
    if (len <= fCapacity)
    {
        _copy(buffer() + fLen, iText, iLen);
        finish(len);
        return true;
    }
    unsigned int capacity = std::max({len, fCapacity + fCapacity / 2u, kFirstGrowth});
    wchar_t* fresh = _allocate(capacity);
    if (!fresh)
    {
        capacity = len;
        fresh = _allocate(capacity);
    }
    if (!fresh)
    {
        return false;
    }
    _copy(fresh, fPtr, fLen);
    _copy(fresh + fLen, iText, iLen);
    useBuffer(fresh, capacity);
    finish(len);
    return true;
}

// A buffer inside another object cannot be moved: its text is copied.
void PString::take(PString& ioText)
{
    if (ioText.fBorrowed || ioText.fCapacity == 0)
    {
        *this = static_cast<const PLiteral&>(ioText);
        ioText.clear();
        return;
    }
    useBuffer(ioText.buffer(), ioText.fCapacity);
    fLen = ioText.fLen;
    ioText.fPtr = L"";
    ioText.fLen = 0;
    ioText.fCapacity = 0;
}

// NOLINTNEXTLINE(readability-non-const-parameter): later operations write to the buffer
void PString::useBuffer(wchar_t* iBuffer, unsigned int iCapacity) noexcept
{
    freeBuffer();
    fPtr = iBuffer;
    fCapacity = iCapacity & INT_MAX;
    fBorrowed = 0;
}

void PString::freeBuffer() noexcept
{
    if (fCapacity > 0 && !fBorrowed)
    {
        delete[] buffer();
    }
}

void PString::finish(unsigned int iLen) noexcept
{
    fLen = iLen;
    if (fCapacity > 0)
    {
        buffer()[iLen] = L'\0';
    }
}
