// SPDX-License-Identifier: MIT
// SleepingThread: tells when a thread has begun to wait for another one.
#ifndef IXLAL_TESTS_SLEEPINGTHREAD_H
#define IXLAL_TESTS_SLEEPINGTHREAD_H

#include <sys/types.h>

/// Waits until the thread iThread of this process sleeps in the system. False when it doesn't for
/// a minute.
bool waitUntilAsleep(pid_t iThread);

#endif
