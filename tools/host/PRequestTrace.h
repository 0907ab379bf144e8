// SPDX-License-Identifier: MIT
// PRequestTrace: the interface that a thread has requested last.
#ifndef IXLAL_TOOLS_PREQUESTTRACE_H
#define IXLAL_TOOLS_PREQUESTTRACE_H

#include "portinglayer/PLiteral.h"

#include <cstddef>

/// This program defines ixlaGetInstance and passes its calls to the core. The dynamic loader binds
/// the calls of plugins and of the core to this definition, because a program comes before its
/// libraries. A call that the core makes for itself without the loader is not recorded.
class PRequestTrace
{
public:
    enum : std::size_t
    {
        eCapacity = 96
    };

    /// The trace of the calling thread. [any thread, also in a signal handler]
    static PRequestTrace& ofThread();

    void begin(const PLiteral& iId);
    void end();

    const wchar_t* id() const;
    std::size_t length() const; ///< 0 before the first request

    /// Whether that request has returned.
    bool hasReturned() const;

private:
    std::size_t fLength = 0;
    bool fHasReturned = true;
    wchar_t fId[eCapacity] = {};
};

#endif
