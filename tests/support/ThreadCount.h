// SPDX-License-Identifier: MIT
// countThreads: the threads of this process.
#ifndef IXLAL_TESTS_THREADCOUNT_H
#define IXLAL_TESTS_THREADCOUNT_H

/// Waits up to 100 ms for the system to forget those that were joined.
int countThreads();

#endif
