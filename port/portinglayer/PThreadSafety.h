// SPDX-License-Identifier: MIT
/// @file
/// PThreadSafety: annotates locks for clang's -Wthread-safety.
#ifndef IXLAL_PTHREADSAFETY_H
#define IXLAL_PTHREADSAFETY_H

#if defined(__clang__)
#define IXLA_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
/// An attribute of clang's analysis; empty for other compilers.
#define IXLA_THREAD_ATTRIBUTE(x)
#endif

/// A class whose objects are locks.
#define IXLA_CAPABILITY(x) IXLA_THREAD_ATTRIBUTE(capability(x))
/// A class that holds a lock from its construction to its destruction.
#define IXLA_SCOPED_CAPABILITY IXLA_THREAD_ATTRIBUTE(scoped_lockable)
/// A member that may be used with the lock held only.
#define IXLA_GUARDED_BY(x) IXLA_THREAD_ATTRIBUTE(guarded_by(x))
/// A function that must be called with the lock held.
#define IXLA_REQUIRES(...) IXLA_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
///@{
/// Functions that take and release the lock.
#define IXLA_ACQUIRE(...) IXLA_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define IXLA_RELEASE(...) IXLA_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
///@}
/// A function whose locking cannot be expressed; its comment says why.
#define IXLA_NO_THREAD_SAFETY_ANALYSIS IXLA_THREAD_ATTRIBUTE(no_thread_safety_analysis)

#endif
