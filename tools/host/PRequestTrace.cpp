// SPDX-License-Identifier: MIT
#include "host/PRequestTrace.h"

#include "Ixla.h"

#include <algorithm>
#include <dlfcn.h>

namespace
{
using GetInstance = int(const PLiteral&, IBase*&);

thread_local PRequestTrace tTrace;

/// Set before main, and so before any plugin is loaded.
GetInstance* const sGetInstance =
    reinterpret_cast<GetInstance*>(dlsym(RTLD_NEXT, "_Z15ixlaGetInstanceRK8PLiteralRP5IBase"));

/// Ends a request also when the plugin ends its thread in it.
struct Request
{
    explicit Request(const PLiteral& iId)
    {
        tTrace.begin(iId);
    }

    ~Request()
    {
        tTrace.end();
    }

    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;
};
} // namespace

int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance)
{
    const Request request(iInterfaceId);
    return sGetInstance ? sGetInstance(iInterfaceId, oInstance) : eIxlaCoreNotStarted;
}

PRequestTrace& PRequestTrace::ofThread()
{
    return tTrace;
}

void PRequestTrace::begin(const PLiteral& iId)
{
    fLength = std::min<std::size_t>(iId.len(), eCapacity);
    std::copy_n(iId.ptr(), fLength, fId);
    fHasReturned = false;
}

void PRequestTrace::end()
{
    fHasReturned = true;
}

const wchar_t* PRequestTrace::id() const
{
    return fId;
}

std::size_t PRequestTrace::length() const
{
    return fLength;
}

bool PRequestTrace::hasReturned() const
{
    return fHasReturned;
}
