// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_FIRSTREQUESTCASE_H
#define IXLAL_BENCHMARKS_FIRSTREQUESTCASE_H

#include "support/Contest.h"

/// Eight threads ask for a plugin that one of them initialises: how long after the init does the
/// last one have it, and how long after the first one? And what does a first request cost alone?
void enterFirstRequest(Contest& ioContest);

#endif
