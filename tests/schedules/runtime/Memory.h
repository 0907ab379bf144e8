// SPDX-License-Identifier: MIT
// Memory: the runtime's own, which no schedule sees.
#ifndef IXLAL_SCHEDULES_MEMORY_H
#define IXLAL_SCHEDULES_MEMORY_H

#include <cstddef>

namespace schedules
{
struct Memory
{
    /// Zeroed memory for the rest of the process; ends the process when there is none.
    static void* zeroed(std::size_t iSize);
};
} // namespace schedules

#endif
