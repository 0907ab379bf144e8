// SPDX-License-Identifier: MIT
// What does it cost to read a value, as text or as a number, that stands in a configuration's own
// file, in the store, among the run-time values, or pinned in its own file?
#ifndef IXLAL_BENCHMARKS_READCASE_H
#define IXLAL_BENCHMARKS_READCASE_H

#include "support/Contest.h"

/// The sizes are keys in each of the three places. Those asked for are in one of them only; the
/// pinned ones also have run-time values, over which they win.
void enterRead(Contest& ioContest);

#endif
