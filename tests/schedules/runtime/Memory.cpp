// SPDX-License-Identifier: MIT
#include "Memory.h"

#include "Race.h"

#include <cstdlib>
#include <sys/mman.h>

namespace schedules
{
void* Memory::zeroed(std::size_t iSize)
{
    static char* sNext;
    static std::size_t sLeft;
    constexpr std::size_t kChunk = 8u << 20;
    const std::size_t size = (iSize + 63) / 64 * 64;
    if (size > sLeft)
    {
        void* chunk = mmap(nullptr, kChunk, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (chunk == MAP_FAILED || size > kChunk)
        {
            std::abort();
        }
        sNext = static_cast<char*>(chunk);
        sLeft = kChunk;
        Race::exclude(chunk, kChunk);
    }
    char* memory = sNext;
    sNext += size;
    sLeft -= size;
    return memory;
}
} // namespace schedules
