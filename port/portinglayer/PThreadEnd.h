// SPDX-License-Identifier: MIT
/// @file
/// PThreadEnd: what passes through a thread that ends inside of a call.
#ifndef IXLAL_PTHREADEND_H
#define IXLAL_PTHREADEND_H

#include <cxxabi.h>

/// A thread that calls pthread_exit or is cancelled unwinds its stack with this. It cannot be held
/// up: a handler that catches it, or catches everything, throws it on with "throw;", or the process
/// is aborted, as it is by a function on the way that is noexcept. Never thrown by ourselves.
typedef abi::__forced_unwind PThreadEnd;

/// For functions with such a handler: there is no object behind the reference, which the sanitizer
/// of undefined behaviour would report though nobody looks at it.
#define IXLA_PASSES_THREAD_END __attribute__((no_sanitize("undefined")))

/// Throws on what the handler around the call has caught, as "throw;" does. Written so where no
/// thread ends inside some of the callers: those are noexcept, and analyzers that see a "throw;"
/// report each of them.
[[noreturn]] inline void passThreadEnd()
{
    abi::__cxa_rethrow();
}

#endif
