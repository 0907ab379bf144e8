// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_UNSUBSCRIBECASE_H
#define IXLAL_BENCHMARKS_UNSUBSCRIBECASE_H

#include "support/Contest.h"

/// What does it cost to end one of 100, 1,000 or 10,000 subscriptions to a topic? All are ended,
/// the oldest first.
void enterUnsubscribe(Contest& ioContest);

#endif
