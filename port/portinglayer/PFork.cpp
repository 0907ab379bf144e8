// SPDX-License-Identifier: MIT
#include "PFork.h"

#include <pthread.h>

std::atomic<unsigned short> PFork::fGeneration{1};

/// Counts forks in the child.
struct PForkNotice
{
    static void count() noexcept
    {
        // The number repeats after 65535 nested forks.
        if (++PFork::fGeneration == 0)
        {
            ++PFork::fGeneration;
        }
    }
};

namespace
{
// Can only fail for lack of memory, before any other code of the library runs.
[[maybe_unused]] const int sTold = PFork::tellChildren(&PForkNotice::count);
} // namespace

int PFork::tellChildren(void (*iAction)()) noexcept
{
    return -::pthread_atfork(nullptr, nullptr, iAction);
}
