// SPDX-License-Identifier: MIT
#include "support/Allocations.h"

#include <cstdlib>
#include <new>

#include <malloc.h>

namespace
{
thread_local unsigned long sCount = 0;
thread_local long long sHeld = 0;

long long _size(void* iBlock) noexcept
{
    return static_cast<long long>(::malloc_usable_size(iBlock) + sizeof(std::size_t));
}

void* _allocate(std::size_t iSize) noexcept
{
    void* const block = std::malloc(iSize > 0 ? iSize : 1);
    if (block)
    {
        ++sCount;
        sHeld += _size(block);
    }
    return block;
}

void _free(void* iBlock) noexcept
{
    if (iBlock)
    {
        sHeld -= _size(iBlock);
        std::free(iBlock);
    }
}
} // namespace

unsigned long Allocations::count() noexcept
{
    return sCount;
}

long long Allocations::held() noexcept
{
    return sHeld;
}

void* operator new(std::size_t iSize)
{
    void* const block = _allocate(iSize);
    if (!block)
    {
        throw std::bad_alloc();
    }
    return block;
}

void* operator new[](std::size_t iSize)
{
    return operator new(iSize);
}

void* operator new(std::size_t iSize, const std::nothrow_t&) noexcept
{
    return _allocate(iSize);
}

void* operator new[](std::size_t iSize, const std::nothrow_t&) noexcept
{
    return _allocate(iSize);
}

void operator delete(void* iBlock) noexcept
{
    _free(iBlock);
}

void operator delete[](void* iBlock) noexcept
{
    _free(iBlock);
}

void operator delete(void* iBlock, std::size_t) noexcept
{
    _free(iBlock);
}

void operator delete[](void* iBlock, std::size_t) noexcept
{
    _free(iBlock);
}
