// SPDX-License-Identifier: MIT
// Random: a small generator whose sequence follows from its seed alone.
#ifndef IXLAL_SCHEDULES_RANDOM_H
#define IXLAL_SCHEDULES_RANDOM_H

#include <cstdint>

namespace schedules
{
/// Each value mixes a counter (the finaliser of a 64-bit hash), so any seed is good.
class Random
{
public:
    explicit Random(std::uint64_t iSeed = 0) : fState(iSeed * 0x9e3779b97f4a7c15u)
    {
    }

    std::uint64_t next()
    {
        std::uint64_t mixed = fState += 0x9e3779b97f4a7c15u;
        mixed = (mixed ^ mixed >> 30) * 0xbf58476d1ce4e5b9u;
        mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111ebu;
        return mixed ^ mixed >> 31;
    }

    /// A number from 0 to iLimit - 1.
    std::uint32_t below(std::uint32_t iLimit)
    {
        return static_cast<std::uint32_t>((next() >> 32) * iLimit >> 32);
    }

private:
    std::uint64_t fState;
};
} // namespace schedules

#endif
