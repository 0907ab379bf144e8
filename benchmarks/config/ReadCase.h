// SPDX-License-Identifier: MIT
// What does it cost to read a value, as text or as a number: from a configuration's own file, from
// the store, from the run-time values, or pinned ("const") in its own file? How many reads do two
// threads make, also while a third one sets values?
#ifndef IXLAL_BENCHMARKS_READCASE_H
#define IXLAL_BENCHMARKS_READCASE_H

#include "support/Contest.h"

/// The sizes are keys in each of the three places. A key that is read is in one place only; a
/// pinned one also has a run-time value, which it takes precedence over.
void enterRead(Contest& ioContest);

#endif
