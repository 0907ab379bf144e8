// SPDX-License-Identifier: MIT
#include "config/PConfigArena.h"

#include <algorithm>
#include <atomic>
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

/// Freed blocks of the largest size. A thread that meets another one here uses the heap instead.
class PSpareBlocks
{
    typedef PConfigArena::Block Block;

public:
    /// Frees the blocks. Later ones are not kept.
    void close() noexcept
    {
        fRoom = 0;
        while (Block* const block = fFirst)
        {
            fFirst = block->next;
            ::operator delete(block);
        }
    }

    /// Returns null for none.
    Block* take() noexcept
    {
        if (fBusy.test_and_set(std::memory_order_acquire))
        {
            return nullptr;
        }
        Block* const block = fFirst;
        if (block)
        {
            fFirst = block->next;
            ++fRoom;
        }
        fBusy.clear(std::memory_order_release);
        return block;
    }

    /// Returns whether the block is kept.
    bool keep(Block* iBlock) noexcept
    {
        if (fBusy.test_and_set(std::memory_order_acquire))
        {
            return false;
        }
        const bool kept = fRoom > 0;
        if (kept)
        {
            iBlock->next = fFirst;
            fFirst = iBlock;
            --fRoom;
        }
        fBusy.clear(std::memory_order_release);
        return kept;
    }

private:
    std::atomic_flag fBusy; ///< a lock that is only tried, with the order of one
    Block* fFirst = nullptr;
    unsigned int fRoom = 64;
};

namespace
{
// Never destroyed, because arenas may outlive the static objects.
PSpareBlocks sSpare;

/// Closes them when the library is unloaded.
struct SpareBlocksEnd
{
    ~SpareBlocksEnd()
    {
        sSpare.close();
    }
};
[[maybe_unused]] const SpareBlocksEnd sSpareEnd;
} // namespace

PConfigArena::~PConfigArena()
{
    while (Block* const block = fBlocks)
    {
        fBlocks = block->next;
        if (block->size != kMaxSize || !sSpare.keep(block))
        {
            ::operator delete(block);
        }
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

PConfigArena::Room PConfigArena::room(unsigned int iLen)
{
    const std::size_t least = (std::max(iLen, kUsualLine) + std::size_t(1)) * sizeof(wchar_t);
    if (static_cast<std::size_t>(fEnd - fFree) < least)
    {
        addBlock(least);
    }
    const auto characters = static_cast<std::size_t>(fEnd - fFree) / sizeof(wchar_t);
    return {reinterpret_cast<wchar_t*>(fFree), static_cast<unsigned int>(characters - 1)};
}

// The rest of the previous block stays unused.
void PConfigArena::addBlock(std::size_t iSize)
{
    const std::size_t size = std::max(iSize + sizeof(Block), fNextSize);
    void* memory = size == kMaxSize ? sSpare.take() : nullptr;
    memory = memory ? memory : ::operator new(size);
    fBlocks = new (memory) Block{fBlocks, size};
    fFree = static_cast<char*>(memory) + sizeof(Block);
    fEnd = static_cast<char*>(memory) + size;
    fNextSize = std::min(fNextSize * 2, kMaxSize);
}
