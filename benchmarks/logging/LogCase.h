// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_LOGCASE_H
#define IXLAL_BENCHMARKS_LOGCASE_H

#include "support/Contest.h"

/// What does it cost to write a line with a text of so many characters to a log file, in memory
/// and on disk?
void enterLog(Contest& ioContest);

#endif
