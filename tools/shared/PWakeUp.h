// SPDX-License-Identifier: MIT
// PWakeUp: ends the wait of a thread that polls descriptors.
#ifndef IXLAL_TOOLS_PWAKEUP_H
#define IXLAL_TOOLS_PWAKEUP_H

#include "shared/PFileDescriptor.h"

#include <cstdint>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

class PWakeUp
{
public:
    /// Throws std::system_error.
    PWakeUp() : fEvent(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
        if (!fEvent)
        {
            throw std::system_error(errno, std::generic_category(), "no eventfd");
        }
    }

    /// Readable after ring(), until reset().
    int descriptor() const noexcept
    {
        return fEvent.get();
    }

    /// [any thread]
    void ring() const noexcept
    {
        const std::uint64_t one = 1;
        // It fails only if the counter is full, and then it is readable.
        (void)!write(fEvent.get(), &one, sizeof(one));
    }

    void reset() const noexcept
    {
        std::uint64_t ignored = 0;
        (void)!read(fEvent.get(), &ignored, sizeof(ignored));
    }

private:
    const PFileDescriptor fEvent;
};

#endif
