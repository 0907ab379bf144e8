// SPDX-License-Identifier: MIT
#include "sizes/SizeProbe.h"

#include "support/Allocations.h"
#include "support/CoreHost.h"

/// The name is kSizeProbe.
extern "C" [[gnu::visibility("default")]] long long benchSizeProbe(int iInterfaces)
{
    CoreHost::stop();
    HostSetup setup;
    setup.interfaces = iInterfaces;
    const long long before = Allocations::held();
    CoreHost::need(setup);
    return Allocations::held() - before;
}
