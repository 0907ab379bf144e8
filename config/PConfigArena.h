// SPDX-License-Identifier: MIT
// PConfigArena: the memory of a configuration's records, and of the texts that it has read.
#ifndef IXLAL_PCONFIGARENA_H
#define IXLAL_PCONFIGARENA_H

#include <cstddef>

/// Allocates pieces of memory from growing blocks, and frees all of it in its destructor; single
/// pieces are not freed. A new arena has no block. Belongs to one thread at a time.
///
/// Up to 4 MiB of freed blocks of the largest size stay in the process for the next arenas. The
/// system would have to clear each of their pages again.
class PConfigArena
{
public:
    /// Room for a text.
    struct Room
    {
        wchar_t* text;
        unsigned int len; ///< characters without the terminating zero
    };

    PConfigArena() noexcept = default;
    ~PConfigArena();

    PConfigArena(const PConfigArena&) = delete;
    PConfigArena& operator=(const PConfigArena&) = delete;

    /// Allocates a piece of iSize bytes. Throws std::bad_alloc.
    void* take(std::size_t iSize);

    /// The free memory where the next piece will be, enough for a line of usual length, or for iLen
    /// characters if that is more. A text that fits in it is in place when take() allocates its
    /// piece. Throws std::bad_alloc.
    Room room(unsigned int iLen = 0);

private:
    friend class PSpareBlocks;

    struct Block
    {
        Block* next;
        std::size_t size;
    };

    void addBlock(std::size_t iSize);

    Block* fBlocks = nullptr;
    char* fFree = nullptr; ///< the next piece
    char* fEnd = nullptr;  ///< end of the newest block
    std::size_t fNextSize = 1024;
};

#endif
