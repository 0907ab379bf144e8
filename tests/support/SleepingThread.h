// SPDX-License-Identifier: MIT
// SleepingThread: detects that a thread has started to wait for another one.
#ifndef IXLAL_TESTS_SLEEPINGTHREAD_H
#define IXLAL_TESTS_SLEEPINGTHREAD_H

#include <sys/types.h>

/// Waits until the thread iThread of this process sleeps in the system. False if it does not within
/// a minute.
bool waitUntilAsleep(pid_t iThread);

#endif
