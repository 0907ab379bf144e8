// SPDX-License-Identifier: MIT
#include "core/PThreadStripe.h"

#include <atomic>

constinit thread_local unsigned int PThreadStripe::fIndex = 0;

unsigned int PThreadStripe::next() noexcept
{
    // Relaxed order is enough for numbers that only have to differ.
    static std::atomic<unsigned int> sThreads{0};
    do
    {
        fIndex = sThreads.fetch_add(1, std::memory_order_relaxed) + 1;
    } while (fIndex == 0);
    return fIndex;
}
