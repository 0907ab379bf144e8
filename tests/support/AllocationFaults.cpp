// SPDX-License-Identifier: MIT
#include "support/AllocationFaults.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(IXLAL_COUNTS_LINES)
#define IXLAL_OWN_MALLOC 0
#else
#define IXLAL_OWN_MALLOC 1
#endif

#if IXLAL_OWN_MALLOC
// The C library's functions that this file replaces.
extern "C"
{
    void* __libc_malloc(std::size_t);
    void* __libc_calloc(std::size_t, std::size_t);
    void* __libc_realloc(void*, std::size_t);
    void* __libc_memalign(std::size_t, std::size_t);
    void __libc_free(void*);
}
#endif

namespace
{
thread_local bool sArmed = false;
thread_local bool sOnce = false;
thread_local bool sReachesMalloc = false;
thread_local bool sStruck = false;
thread_local int sLeft = 0;
thread_local int sCounted = 0;
thread_local int sArraysFreed = 0;
std::atomic<long long> sLive{0};

bool _strikes()
{
    if (!sArmed || sLeft-- > 0)
    {
        return false;
    }
    sStruck = true;
    sArmed = !sOnce;
    sLeft = 0;
    return true;
}

void* _noted(void* iBlock)
{
    if (iBlock)
    {
        sLive.fetch_add(1, std::memory_order_relaxed);
    }
    return iBlock;
}

void* _allocate(std::size_t iSize)
{
    ++sCounted;
    if (_strikes())
    {
        return nullptr;
    }
#if IXLAL_OWN_MALLOC
    return _noted(__libc_malloc(iSize ? iSize : 1));
#else
    return _noted(std::malloc(iSize ? iSize : 1));
#endif
}

void _free(void* iBlock)
{
    if (!iBlock)
    {
        return;
    }
    sLive.fetch_sub(1, std::memory_order_relaxed);
#if IXLAL_OWN_MALLOC
    __libc_free(iBlock);
#else
    std::free(iBlock);
#endif
}

void _arm(int iSkip, AllocationFaults::EReach iReach, bool iOnce)
{
    sLeft = iSkip;
    sOnce = iOnce;
    sReachesMalloc = iReach == AllocationFaults::eAll;
    sStruck = false;
    sArmed = true;
}
} // namespace

void AllocationFaults::failAfter(int iSkip, EReach iReach)
{
    _arm(iSkip, iReach, false);
}

void AllocationFaults::failOnceAfter(int iSkip, EReach iReach)
{
    _arm(iSkip, iReach, true);
}

void AllocationFaults::disarm()
{
    sArmed = false;
}

bool AllocationFaults::struck()
{
    return sStruck;
}

void AllocationFaults::startCounting()
{
    sCounted = 0;
}

int AllocationFaults::counted()
{
    return sCounted;
}

int AllocationFaults::arraysFreed()
{
    return sArraysFreed;
}

bool AllocationFaults::reachesMalloc()
{
    return IXLAL_OWN_MALLOC != 0;
}

long long AllocationFaults::live()
{
    return sLive.load(std::memory_order_relaxed);
}

void* operator new(std::size_t iSize)
{
    if (void* memory = _allocate(iSize))
    {
        return memory;
    }
    throw std::bad_alloc();
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

void operator delete(void* iMemory) noexcept
{
    _free(iMemory);
}

void operator delete[](void* iMemory) noexcept
{
    ++sArraysFreed;
    _free(iMemory);
}

void operator delete(void* iMemory, std::size_t) noexcept
{
    _free(iMemory);
}

void operator delete[](void* iMemory, std::size_t) noexcept
{
    operator delete[](iMemory);
}

#if IXLAL_OWN_MALLOC
namespace
{
/// Whether an allocation that does not come from operator new is to fail.
bool _strikesRaw()
{
    if (!sReachesMalloc || !_strikes())
    {
        return false;
    }
    errno = ENOMEM;
    return true;
}
} // namespace

extern "C"
{
    void* malloc(std::size_t iSize) noexcept
    {
        return _strikesRaw() ? nullptr : _noted(__libc_malloc(iSize));
    }

    void* calloc(std::size_t iCount, std::size_t iSize) noexcept
    {
        return _strikesRaw() ? nullptr : _noted(__libc_calloc(iCount, iSize));
    }

    void* realloc(void* iBlock, std::size_t iSize) noexcept
    {
        if (_strikesRaw())
        {
            return nullptr;
        }
        void* const block = __libc_realloc(iBlock, iSize);
        if (iBlock && !block && iSize == 0)
        {
            sLive.fetch_sub(1, std::memory_order_relaxed);
        }
        return iBlock ? block : _noted(block);
    }

    void* memalign(std::size_t iAlignment, std::size_t iSize) noexcept
    {
        return _strikesRaw() ? nullptr : _noted(__libc_memalign(iAlignment, iSize));
    }

    void* aligned_alloc(std::size_t iAlignment, std::size_t iSize) noexcept
    {
        return memalign(iAlignment, iSize);
    }

    int posix_memalign(void** oBlock, std::size_t iAlignment, std::size_t iSize) noexcept
    {
        void* const block = memalign(iAlignment, iSize);
        if (!block)
        {
            return ENOMEM;
        }
        *oBlock = block;
        return 0;
    }

    void free(void* iBlock) noexcept
    {
        const int error = errno;
        _free(iBlock);
        errno = error;
    }
}
#endif
