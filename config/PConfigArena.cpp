// SPDX-License-Identifier: MIT
#include "config/PConfigArena.h"

#include <algorithm>
#include <new>

namespace
{
constexpr std::size_t kAlignment = alignof(void*);
constexpr std::size_t kMaxSize = 65536;

/// Lines up to this length are read into the arena itself.
constexpr unsigned int kUsualLine = 127;

std::size_t _aligned(std::size_t iSize) noexcept
{
    return (iSize + kAlignment - 1) / kAlignment * kAlignment;
}
} // namespace

PConfigArena::~PConfigArena()
{
    while (fBlocks)
    {
        Block* const next = fBlocks->next;
        ::operator delete(fBlocks);
        fBlocks = next;
    }
}

void* PConfigArena::take(std::size_t iSize)
{
    const std::size_t size = _aligned(iSize);
    if (size > static_cast<std::size_t>(fEnd - fFree))
    {
        addBlock(size);
    }
    char* const piece = fFree;
    fFree += size;
    return piece;
}

PConfigArena::Room PConfigArena::room()
{
    constexpr std::size_t kLeast = (kUsualLine + 1) * sizeof(wchar_t);
    if (static_cast<std::size_t>(fEnd - fFree) < kLeast)
    {
        addBlock(kLeast);
    }
    const auto characters = static_cast<std::size_t>(fEnd - fFree) / sizeof(wchar_t);
    return {reinterpret_cast<wchar_t*>(fFree), static_cast<unsigned int>(characters - 1)};
}

// The rest of the previous block stays unused.
void PConfigArena::addBlock(std::size_t iSize)
{
    const std::size_t size = std::max(iSize + sizeof(Block), fNextSize);
    char* const memory = static_cast<char*>(::operator new(size));
    fBlocks = new (memory) Block{fBlocks};
    fFree = memory + sizeof(Block);
    fEnd = memory + size;
    fNextSize = std::min(fNextSize * 2, kMaxSize);
}
