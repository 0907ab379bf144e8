// SPDX-License-Identifier: MIT
// IBase: the root of every interface that crosses a plugin boundary.
#ifndef IXLAL_IBASE_H
#define IXLAL_IBASE_H

// Thread tags used by the contracts of all public headers:
//   [any thread]   may be called from every thread at any time, also from within a callback
//                  (an event listener, a plugin's init or getInstance);
//   [host thread]  only one thread at a time, and no other call into the library meanwhile;
//   [core]         called by the core only, in the order that the contract names.
//
// The slot order of every interface is part of the binary interface: operations are never
// reordered or inserted. No interface declares a destructor; an object destroys itself when its
// count returns to 0.
//
// No operation throws, and no implementation of these interfaces may throw. A thread may end, by
// pthread_exit or by cancellation, inside init, getInterfaces, getInstance and handleEvent, and
// only there; its stack unwinds through the calls that led there (see portinglayer/PThreadEnd.h).

/// A reference-counted object. It starts with a count of 0; the first PBaseptr takes the first
/// reference, and the decRef that brings the count back to 0 destroys the object.
class IBase
{
public:
    /// Adds a reference; returns the new count. [any thread]
    virtual int incRef() = 0;

    /// Drops a reference; returns the new count. At 0 the object is destroyed. [any thread]
    virtual int decRef() = 0;
};

#endif
