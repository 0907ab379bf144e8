// SPDX-License-Identifier: MIT
// PFork: recognises a forked child.
#ifndef IXLAL_PFORK_H
#define IXLAL_PFORK_H

#include <atomic>
#include <cerrno>

/// A forked child has the memory of its parent but only the forking thread. Locks that other
/// threads held stay locked there forever, and data that they were changing stays inconsistent. So
/// each object with a lock remembers the process that opened it and fails in others. [any thread]
class PFork
{
public:
    /// The errno for the use of an object of the parent.
    enum
    {
        eError = EOWNERDEAD
    };

    /// A number that differs between a child and its parent; never 0.
    static unsigned short generation() noexcept
    {
        return fGeneration.load(std::memory_order_relaxed);
    }

    /// The result code for using an object that the process with generation iOpened opened: 0 if
    /// that is this process, -iClosed if iOpened is 0 (not open), -eError otherwise.
    static int refused(unsigned short iOpened, int iClosed = EINVAL) noexcept
    {
        const int error = iOpened == 0 ? iClosed : static_cast<int>(eError);
        return iOpened == generation() ? 0 : -error;
    }

    /// Registers iAction to be called in every child before fork returns there. Returns 0 or a
    /// negated errno.
    static int tellChildren(void (*iAction)()) noexcept;

private:
    friend struct PForkNotice;

    /// Relaxed order is enough, because it changes only while a child has one thread.
    static std::atomic<unsigned short> fGeneration;
};

#endif
