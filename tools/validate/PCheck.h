// SPDX-License-Identifier: MIT
// PCheck: one point of the contract between the core and plugins.
#ifndef IXLAL_TOOLS_PCHECK_H
#define IXLAL_TOOLS_PCHECK_H

#include "validate/PVerdict.h"

#include <vector>

class PTrial;

struct PCheck
{
    const char* name;
    const char* summary;
    const char* needs; ///< a check that must not have failed; null for none
    PVerdict (*run)(PTrial& ioTrial);
};

/// All checks, in the order in which they run.
const std::vector<PCheck>& allChecks();

// Of the library by itself, in LibraryChecks.cpp. They may throw, as the others.
PVerdict checkFile(PTrial& ioTrial);
PVerdict checkLoads(PTrial& ioTrial);
PVerdict checkFactory(PTrial& ioTrial);
PVerdict checkCounts(PTrial& ioTrial);
PVerdict checkInterfaces(PTrial& ioTrial);

// Of the plugin with a core, in CoreChecks.cpp.
PVerdict checkInit(PTrial& ioTrial);
PVerdict checkUnknownId(PTrial& ioTrial);
PVerdict checkThreads(PTrial& ioTrial);
PVerdict checkStop(PTrial& ioTrial);

// In UnloadCheck.cpp.
PVerdict checkUnload(PTrial& ioTrial);

#endif
