// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_STARTCASE_H
#define IXLAL_BENCHMARKS_STARTCASE_H

#include "support/Contest.h"

/// What does it cost to start with so many plugin libraries in the directory?
void enterStart(Contest& ioContest);

#endif
