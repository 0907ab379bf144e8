// SPDX-License-Identifier: MIT
// The functions that the runtime replaces are visible to every library of the process.
#ifndef IXLAL_SCHEDULES_EXPORT_H
#define IXLAL_SCHEDULES_EXPORT_H

#include "Scheduler.h"

#include <cstdint>

#define SCHEDULES_EXPORT extern "C" __attribute__((visibility("default")))

/// Where the replaced function was called.
#define SCHEDULES_CALLER reinterpret_cast<std::uintptr_t>(__builtin_return_address(0))

/// Says where the calling thread is, which must exist, for the rest of the block.
#define SCHEDULES_HERE(thread)                                                                     \
    const schedules::Scheduler::Location location(thread, SCHEDULES_CALLER)

#endif
