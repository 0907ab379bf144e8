// SPDX-License-Identifier: MIT
#include "logging/PGate.h"

namespace
{
constexpr unsigned int kClosed = 1u << 31;
} // namespace

PGate::PGate() noexcept : fState(0)
{
}

bool PGate::enter() noexcept
{
    if ((fState.fetch_add(1) & kClosed) == 0)
    {
        return true;
    }
    leave();
    return false;
}

void PGate::leave() noexcept
{
    if (fState.fetch_sub(1) == (kClosed | 1u))
    {
        fState.notify_all();
    }
}

// All access to fState is sequentially consistent: everything that the threads did inside has
// happened before close() returns.
void PGate::close() noexcept
{
    for (unsigned int state = fState.fetch_or(kClosed) | kClosed; state != kClosed;
         state = fState.load())
    {
        fState.wait(state);
    }
}
