// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_FIRSTREQUESTCASE_H
#define IXLAL_BENCHMARKS_FIRSTREQUESTCASE_H

#include "support/Contest.h"

/// Eight threads request a plugin that one of them initialises. When does the last one get it,
/// after the end of init and after the first one? What does a first request of a single thread
/// cost?
void enterFirstRequest(Contest& ioContest);

#endif
