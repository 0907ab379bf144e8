// SPDX-License-Identifier: MIT
// PListenerFilter: says of most listeners that they are not in a list.
#ifndef IXLAL_PLISTENERFILTER_H
#define IXLAL_PLISTENERFILTER_H

#include <cstddef>
#include <cstdint>
#include <vector>

class IEventListener;

/// A Bloom filter with two bits for a listener and a byte of memory for each that it has room for.
/// While full, 6 % of the other listeners pass it. A removed listener passes it until the next
/// clear. Not synchronised.
class PListenerFilter
{
public:
    /// Whether iListener may have been added; always true without room.
    bool passes(const IEventListener* iListener) const noexcept;

    /// Whether the room is used, also when there is none.
    bool isFull() const noexcept
    {
        return fCount == fWords.size() * kWordBytes;
    }

    /// Adds a listener; does nothing without room.
    void add(const IEventListener* iListener) noexcept;

    /// Empties the filter and makes room for iCount listeners, or a few more. Throws
    /// std::bad_alloc; nothing has changed then.
    void clear(std::size_t iCount);

private:
    typedef std::uint32_t Word;
    static constexpr unsigned int kWordBits = 32;
    static constexpr unsigned int kWordBytes = 4;

    /// The numbers of the two bits.
    struct Bits
    {
        std::uint32_t first;
        std::uint32_t second;
    };

    Bits bitsOf(const IEventListener* iListener) const noexcept;

    std::vector<Word> fWords; ///< a power of 2 of them; none at first
    unsigned int fShift = 0;  ///< a hash shifted by it is the number of a bit
    std::size_t fCount = 0;
};

#endif
