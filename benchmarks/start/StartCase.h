// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_STARTCASE_H
#define IXLAL_BENCHMARKS_STARTCASE_H

#include "support/Contest.h"

/// What does a start cost? The sizes are plugin libraries in the directory.
void enterStart(Contest& ioContest);

#endif
