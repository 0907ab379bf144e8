// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_LOOKUPCASE_H
#define IXLAL_BENCHMARKS_LOOKUPCASE_H

#include "support/Contest.h"

/// What does it cost to ask the core for a service that is initialised?
void enterLookup(Contest& ioContest);

#endif
