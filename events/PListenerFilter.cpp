// SPDX-License-Identifier: MIT
#include "events/PListenerFilter.h"

bool PListenerFilter::passes(const IEventListener* iListener) const noexcept
{
    if (fWords.empty())
    {
        return true;
    }
    const Bits bits = bitsOf(iListener);
    return (fWords[bits.first / kWordBits] >> bits.first % kWordBits & 1) != 0 &&
           (fWords[bits.second / kWordBits] >> bits.second % kWordBits & 1) != 0;
}

void PListenerFilter::add(const IEventListener* iListener) noexcept
{
    if (fWords.empty())
    {
        return;
    }
    const Bits bits = bitsOf(iListener);
    fWords[bits.first / kWordBits] |= Word(1) << bits.first % kWordBits;
    fWords[bits.second / kWordBits] |= Word(1) << bits.second % kWordBits;
    ++fCount;
}

void PListenerFilter::clear(std::size_t iCount)
{
    unsigned int shift = kWordBits - 5;
    std::size_t words = 1;
    while (words * kWordBytes < iCount)
    {
        words *= 2;
        --shift;
    }
    std::vector<Word>(words).swap(fWords);
    fShift = shift;
    fCount = 0;
}

PListenerFilter::Bits PListenerFilter::bitsOf(const IEventListener* iListener) const noexcept
{
    const std::uint64_t hash = reinterpret_cast<std::uintptr_t>(iListener) * 0x9E3779B97F4A7C15ull;
    return {static_cast<std::uint32_t>(hash >> 32) >> fShift,
            static_cast<std::uint32_t>(hash) >> fShift};
}
