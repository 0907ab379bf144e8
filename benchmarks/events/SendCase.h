// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_SENDCASE_H
#define IXLAL_BENCHMARKS_SENDCASE_H

#include "support/Contest.h"

/// What does it cost to send an event on one of 100 topics to 1, 10 or 100 listeners?
void enterSend(Contest& ioContest);

#endif
