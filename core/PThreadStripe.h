// SPDX-License-Identifier: MIT
// PThreadStripe: spreads threads over the counters of a striped lock.
#ifndef IXLAL_PTHREADSTRIPE_H
#define IXLAL_PTHREADSTRIPE_H

/// Threads that use different counters, each on a cache line of its own, do not wait for each
/// other's caches. [any thread]
class PThreadStripe
{
public:
    /// The number of the calling thread: 1 for the first thread that asks, 2 for the second.
    static unsigned int index() noexcept
    {
        const unsigned int index = fIndex;
        return index != 0 ? index : next();
    }

private:
    [[gnu::cold]] static unsigned int next() noexcept;

    // The model saves a function call for each access. It needs memory of the size of this variable
    // in the space that the C library reserves for libraries loaded later.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local unsigned int fIndex;
};

#endif
