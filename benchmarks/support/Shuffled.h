// SPDX-License-Identifier: MIT
// Shuffled: numbers in an order that caches and branch predictors cannot learn.
#ifndef IXLAL_BENCHMARKS_SHUFFLED_H
#define IXLAL_BENCHMARKS_SHUFFLED_H

#include <array>
#include <random>

class Shuffled
{
public:
    /// Numbers below iCount, the same ones in each run.
    explicit Shuffled(int iCount)
    {
        std::minstd_rand random(1);
        for (unsigned int& number : fNumbers)
        {
            number = static_cast<unsigned int>(random()) % static_cast<unsigned int>(iCount);
        }
    }

    unsigned int operator[](unsigned int iTurn) const
    {
        return fNumbers[iTurn % kNumbers];
    }

private:
    static constexpr unsigned int kNumbers = 4096;
    std::array<unsigned int, kNumbers> fNumbers;
};

#endif
