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
    std::size_t size; ///< 0 while they are not known
    char text[32];
};

thread_local Numbers sNumbers = {};

/// A forked child begins with a copy of the forking thread, which is another thread of another
/// process.
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
