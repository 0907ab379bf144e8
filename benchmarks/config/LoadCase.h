// SPDX-License-Identifier: MIT
// What does it cost to load a configuration file, sorted or not, from memory and from disk, and
// what memory does the result hold?
#ifndef IXLAL_BENCHMARKS_LOADCASE_H
#define IXLAL_BENCHMARKS_LOADCASE_H

#include "support/Contest.h"

/// The sizes are lines. Only loading is measured; the result is only checked.
void enterLoad(Contest& ioContest);

#endif
