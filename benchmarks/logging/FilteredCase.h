// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_FILTEREDCASE_H
#define IXLAL_BENCHMARKS_FILTEREDCASE_H

#include "support/Contest.h"

/// What does a line cost that is not written, because its level is too high or there is no logger?
void enterFiltered(Contest& ioContest);

#endif
