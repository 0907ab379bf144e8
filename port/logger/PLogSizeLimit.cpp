// SPDX-License-Identifier: MIT
#include "PLogSizeLimit.h"

#include <sys/resource.h>

[[gnu::cold]] void PLogSizeLimit::ask(std::time_t iSecond) noexcept
{
    fSecond = iSecond;
    rlimit limit{};
    fIsNone = ::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY;
}
