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
    const char* needs; ///< a check that must have passed; null for none
    PVerdict (*run)(PTrial& ioTrial);
};

/// All checks, in the order in which they run.
const std::vector<PCheck>& allChecks();

// Checks without a core, in LibraryChecks.cpp. All checks may throw.
PVerdict checkFile(PTrial& ioTrial);
PVerdict checkLoads(PTrial& ioTrial);
PVerdict checkFactory(PTrial& ioTrial);
PVerdict checkCounts(PTrial& ioTrial);
PVerdict checkInterfaces(PTrial& ioTrial);

// Checks with a core, in CoreChecks.cpp.
PVerdict checkInit(PTrial& ioTrial);
PVerdict checkUnknownId(PTrial& ioTrial);
PVerdict checkThreads(PTrial& ioTrial);
PVerdict checkStop(PTrial& ioTrial);

// In UnloadCheck.cpp.
PVerdict checkUnload(PTrial& ioTrial);

// In files of their names.
PVerdict checkConstructor(PTrial& ioTrial);
PVerdict checkDestructor(PTrial& ioTrial);
PVerdict checkInitTime(PTrial& ioTrial);
PVerdict checkKeys(PTrial& ioTrial);
PVerdict checkListeners(PTrial& ioTrial);
PVerdict checkReferences(PTrial& ioTrial);
PVerdict checkSymbols(PTrial& ioTrial);

#endif
