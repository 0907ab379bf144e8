// SPDX-License-Identifier: MIT
// PFork: tells a forked child from the process that it comes from.
#ifndef IXLAL_PFORK_H
#define IXLAL_PFORK_H

#include <atomic>
#include <cerrno>

/// A child has the memory of its parent and one of its threads. Locks that other threads held stay
/// held there for ever, and what they were changing stays as it was; so whatever has a lock
/// remembers the process that it was made in, and refuses its work in others. [any thread]
class PFork
{
public:
    /// The errno for what belongs to the parent.
    enum
    {
        eError = EOWNERDEAD
    };

    /// Another number in a child than in the process that it comes from; never 0.
    static unsigned short generation() noexcept
    {
        return fGeneration.load(std::memory_order_relaxed);
    }

    /// The code for what is not open in this process: iOpened is the generation of the process that
    /// opened it, 0 for none, which gives iClosed. 0 for what is open.
    static int refused(unsigned short iOpened, int iClosed = EINVAL) noexcept
    {
        const int error = iOpened == 0 ? iClosed : static_cast<int>(eError);
        return iOpened == generation() ? 0 : -error;
    }

    /// Has iAction called in every child, before fork returns there. Returns 0 or a negated errno.
    static int tellChildren(void (*iAction)()) noexcept;

private:
    friend struct PForkNotice;

    static std::atomic<unsigned short> fGeneration;
};

#endif
