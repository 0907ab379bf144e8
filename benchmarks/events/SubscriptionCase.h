// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_SUBSCRIPTIONCASE_H
#define IXLAL_BENCHMARKS_SUBSCRIPTIONCASE_H

#include "support/Contest.h"

/// What does it cost to subscribe one of 100, 1,000 or 10,000 listeners to a topic, and to end its
/// subscription? The oldest one is ended first.
void enterSubscriptions(Contest& ioContest);

#endif
