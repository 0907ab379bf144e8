// SPDX-License-Identifier: MIT
// malloc and its relatives: inside a schedule from the heap that is never used twice, otherwise the
// C library's own. They never switch threads.

#include "Export.h"
#include "Faults.h"
#include "Heap.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);
extern "C" void* __libc_memalign(std::size_t, std::size_t);
extern "C" void __libc_free(void*);

using namespace schedules;

namespace
{
bool _isInside()
{
    const Thread* thread = Scheduler::current();
    return thread && !thread->finishing;
}

void* _allocate(std::size_t iSize, std::size_t iAlignment, std::uintptr_t iFrom)
{
    const Scheduler::Location location(*Scheduler::current(), iFrom);
    void* memory = Faults::isNext(FaultPlan::eMemory) ? nullptr : Heap::allocate(iSize, iAlignment);
    if (!memory)
    {
        errno = ENOMEM;
    }
    return memory;
}
} // namespace

SCHEDULES_EXPORT void* malloc(std::size_t iSize)
{
    return _isInside() ? _allocate(iSize, 16, SCHEDULES_CALLER) : __libc_malloc(iSize);
}

SCHEDULES_EXPORT void free(void* iMemory)
{
    if (!iMemory)
    {
        return;
    }
    if (!Heap::owns(iMemory))
    {
        __libc_free(iMemory);
        return;
    }
    if (_isInside())
    {
        SCHEDULES_HERE(*Scheduler::current());
        Heap::release(iMemory);
    }
}

// The heap's memory is zero, because it is new.
SCHEDULES_EXPORT void* calloc(std::size_t iCount, std::size_t iSize)
{
    std::size_t size;
    if (__builtin_mul_overflow(iCount, iSize, &size))
    {
        errno = ENOMEM;
        return nullptr;
    }
    return _isInside() ? _allocate(size, 16, SCHEDULES_CALLER) : __libc_calloc(iCount, iSize);
}

SCHEDULES_EXPORT void* realloc(void* iMemory, std::size_t iSize)
{
    if (!_isInside() || (iMemory && !Heap::owns(iMemory)))
    {
        return __libc_realloc(iMemory, iSize);
    }
    void* memory = _allocate(iSize, 16, SCHEDULES_CALLER);
    if (memory && iMemory)
    {
        std::memcpy(memory, iMemory, std::min(iSize, Heap::size(iMemory)));
        Heap::release(iMemory);
    }
    return memory;
}

SCHEDULES_EXPORT void* memalign(std::size_t iAlignment, std::size_t iSize)
{
    return _isInside() ? _allocate(iSize, iAlignment, SCHEDULES_CALLER)
                       : __libc_memalign(iAlignment, iSize);
}

SCHEDULES_EXPORT void* aligned_alloc(std::size_t iAlignment, std::size_t iSize)
{
    return memalign(iAlignment, iSize);
}

SCHEDULES_EXPORT int posix_memalign(void** oMemory, std::size_t iAlignment, std::size_t iSize)
{
    *oMemory = memalign(iAlignment, iSize);
    return *oMemory ? 0 : ENOMEM;
}
