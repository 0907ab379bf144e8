#include "support/AllocationFaults.h"

#include <cstdlib>
#include <new>

namespace
{
thread_local bool sArmed = false;
thread_local bool sOnce = false;
thread_local bool sStruck = false;
thread_local int sLeft = 0;
thread_local int sCounted = 0;

bool _strikes()
{
    ++sCounted;
    if (!sArmed || sLeft-- > 0)
    {
        return false;
    }
    sStruck = true;
    sArmed = !sOnce;
    sLeft = 0;
    return true;
}

void* _allocate(std::size_t iSize)
{
    return _strikes() ? nullptr : std::malloc(iSize ? iSize : 1);
}

void _arm(int iSkip, bool iOnce)
{
    sLeft = iSkip;
    sOnce = iOnce;
    sStruck = false;
    sArmed = true;
}
} // namespace

void AllocationFaults::failAfter(int iSkip)
{
    _arm(iSkip, false);
}

void AllocationFaults::failOnceAfter(int iSkip)
{
    _arm(iSkip, true);
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
    std::free(iMemory);
}

void operator delete[](void* iMemory) noexcept
{
    std::free(iMemory);
}

void operator delete(void* iMemory, std::size_t) noexcept
{
    std::free(iMemory);
}

void operator delete[](void* iMemory, std::size_t) noexcept
{
    std::free(iMemory);
}
