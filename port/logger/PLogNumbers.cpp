// SPDX-License-Identifier: MIT
#include "PLogNumbers.h"

#include <cstddef>
#include <cstdio>

#include <pthread.h>
#include <unistd.h>

namespace
{
struct Numbers
{
    std::size_t size; ///< 0 while the numbers are unknown
    char text[32];
};

thread_local Numbers sNumbers = {};

/// Called in a forked child: its only thread has a copy of the forking thread's numbers, but other
/// numbers of its own.
void _forget() noexcept
{
    sNumbers.size = 0;
}

const bool sForksAreTold = ::pthread_atfork(nullptr, nullptr, &_forget) == 0;
} // namespace

std::string_view PLogNumbers::own() noexcept
{
    Numbers& own = sNumbers;
    if (own.size == 0 || !sForksAreTold)
    {
        own.size = static_cast<std::size_t>(std::snprintf(own.text, sizeof own.text, " %d:%d ",
                                                          static_cast<int>(::getpid()),
                                                          static_cast<int>(::gettid())));
    }
    return std::string_view(own.text, own.size);
}
