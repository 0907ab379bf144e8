// SPDX-License-Identifier: MIT
#include "Heap.h"

#include "Race.h"
#include "Scheduler.h"
#include "VectorClock.h"
#include "Verdict.h"

#include <cstdlib>
#include <sys/mman.h>

namespace schedules
{
namespace
{
constexpr std::size_t kArea = 16u << 20;
constexpr std::size_t kGrain = 8;
constexpr std::size_t kPoisoned = 256; ///< bytes at the begin of released memory
constexpr std::uint32_t kLive = 0x11ae11aeu;
constexpr std::uint32_t kFreed = 0xf4eef4eeu;

struct Header
{
    std::uint32_t size;
    std::uint32_t state;
};

std::uintptr_t sBegin;
std::uintptr_t sEnd;
std::uintptr_t sNext[kMaxThreads];
/// A bit for each grain: whether it is allocated.
unsigned char* sBits;

void* _map(std::size_t iSize)
{
    void* memory = mmap(nullptr, iSize, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
    {
        std::abort();
    }
    return memory;
}

void _mark(std::uintptr_t iAddress, std::size_t iSize, bool iLive)
{
    std::size_t grain = (iAddress - sBegin) / kGrain;
    const std::size_t end = (iAddress - sBegin + iSize + kGrain - 1) / kGrain;
    while (grain < end)
    {
        if (grain % 8 == 0 && end - grain >= 8)
        {
            sBits[grain / 8] = iLive ? 0xff : 0;
            grain += 8;
            continue;
        }
        const unsigned char bit = static_cast<unsigned char>(1u << (grain % 8));
        unsigned char& bits = sBits[grain / 8];
        bits = static_cast<unsigned char>(iLive ? bits | bit : bits & ~bit);
        ++grain;
    }
}

Header* _header(const void* iMemory)
{
    return reinterpret_cast<Header*>(const_cast<void*>(iMemory)) - 1;
}
} // namespace

void Heap::reserve()
{
    sBegin = reinterpret_cast<std::uintptr_t>(_map(kArea * kMaxThreads));
    sEnd = sBegin + kArea * kMaxThreads;
    sBits = static_cast<unsigned char*>(_map(kArea * kMaxThreads / kGrain / 8));
    for (unsigned i = 0; i < kMaxThreads; ++i)
    {
        sNext[i] = sBegin + i * kArea;
    }
}

void* Heap::allocate(std::size_t iSize, std::size_t iAlignment)
{
    const unsigned area = Scheduler::current()->id;
    const std::size_t alignment = iAlignment < 16 ? 16 : iAlignment;
    const std::uintptr_t start =
        (sNext[area] + sizeof(Header) + alignment - 1) / alignment * alignment;
    const std::uintptr_t limit = sBegin + (area + 1) * kArea;
    if (iSize > kArea || start + iSize + kGrain > limit)
    {
        return nullptr;
    }
    // At least one grain between two blocks is never allocated.
    sNext[area] = start + (iSize + kGrain - 1) / kGrain * kGrain + kGrain;
    void* memory = reinterpret_cast<void*>(start);
    *_header(memory) = Header{static_cast<std::uint32_t>(iSize), kLive};
    _mark(start, iSize, true);
    return memory;
}

void Heap::release(void* iMemory)
{
    Header* header = _header(iMemory);
    if (header->state != kLive)
    {
        Verdict::fail(Outcome::eBadFree, header->state == kFreed
                                             ? "memory is released twice"
                                             : "memory is released that was not allocated");
    }
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(iMemory);
    Race::released(address, header->size);
    header->state = kFreed;
    _mark(address, header->size, false);
    // What is not instrumented reads this.
    volatile unsigned char* byte = static_cast<unsigned char*>(iMemory);
    for (std::size_t i = 0; i < header->size && i < kPoisoned; ++i)
    {
        byte[i] = 0xdd;
    }
}

bool Heap::owns(const void* iMemory)
{
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(iMemory);
    return address >= sBegin && address < sEnd;
}

std::size_t Heap::size(const void* iMemory)
{
    return _header(iMemory)->size;
}

bool Heap::isLive(std::uintptr_t iAddress, std::size_t iSize)
{
    const std::size_t first = (iAddress - sBegin) / kGrain;
    const std::size_t last = (iAddress + iSize - 1 - sBegin) / kGrain;
    for (std::size_t grain = first; grain <= last; ++grain)
    {
        if ((sBits[grain / 8] >> (grain % 8) & 1) == 0)
        {
            return false;
        }
    }
    return true;
}
} // namespace schedules
