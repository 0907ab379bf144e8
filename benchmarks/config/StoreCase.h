// SPDX-License-Identifier: MIT
// What does it cost to change one stored value, which rewrites the whole file?
#ifndef IXLAL_BENCHMARKS_STORECASE_H
#define IXLAL_BENCHMARKS_STORECASE_H

#include "support/Contest.h"

/// The sizes are lines of the store.
void enterStore(Contest& ioContest);

#endif
