// SPDX-License-Identifier: MIT
// What does it cost to set a run-time value, to set it again, and to remove it? What do topics add
// that are registered for changes?
#ifndef IXLAL_BENCHMARKS_SETCASE_H
#define IXLAL_BENCHMARKS_SETCASE_H

#include "support/Contest.h"

/// The sizes are topics, each with one listener.
void enterSet(Contest& ioContest);

#endif
