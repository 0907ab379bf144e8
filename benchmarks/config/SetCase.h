// SPDX-License-Identifier: MIT
// What does it cost to set a run-time value, to set it again, and to remove it, and what do topics
// add to which changes are announced?
#ifndef IXLAL_BENCHMARKS_SETCASE_H
#define IXLAL_BENCHMARKS_SETCASE_H

#include "support/Contest.h"

/// The sizes are topics, each with one listener.
void enterSet(Contest& ioContest);

#endif
