// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_LOGCASE_H
#define IXLAL_BENCHMARKS_LOGCASE_H

#include "support/Contest.h"

/// What does it cost to write a line to a log file, in memory and on disk? The sizes are characters
/// of its text.
void enterLog(Contest& ioContest);

#endif
