// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_LOOKUPCASE_H
#define IXLAL_BENCHMARKS_LOOKUPCASE_H

#include "support/Contest.h"

/// What does it cost to look up an initialised service in the core?
void enterLookup(Contest& ioContest);

#endif
