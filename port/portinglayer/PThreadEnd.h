// SPDX-License-Identifier: MIT
/// @file
/// PThreadEnd: the exception that unwinds the stack of a thread that ends inside a call.
#ifndef IXLAL_PTHREADEND_H
#define IXLAL_PTHREADEND_H

#include <cxxabi.h>

/// The system throws it in a thread that calls pthread_exit or is cancelled. A handler that catches
/// it, or catches everything, must rethrow it with "throw;", or the process is aborted. A noexcept
/// function on the way aborts the process, too. The libraries never throw it themselves.
typedef abi::__forced_unwind PThreadEnd;

/// For functions with such a handler: the reference refers to no object, which the undefined
/// behaviour sanitizer would report although the handler does not use it.
#define IXLA_PASSES_THREAD_END __attribute__((no_sanitize("undefined")))

/// Rethrows the exception of the surrounding handler, as "throw;" does. A function, because
/// analyzers report a "throw;" in templates that noexcept functions use, although no thread ends
/// there.
[[noreturn]] inline void passThreadEnd()
{
    abi::__cxa_rethrow();
}

#endif
