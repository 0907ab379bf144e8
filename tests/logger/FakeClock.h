// SPDX-License-Identifier: MIT
// FakeClock: sets the time that the logger sees.
#ifndef IXLAL_TESTS_FAKECLOCK_H
#define IXLAL_TESTS_FAKECLOCK_H

/// The binary that links this object reads the real-time clock through it. Until show is called,
/// the clock has the real time.
struct FakeClock
{
    static void show(long long iSeconds, long long iNanoseconds = 0);
    static void showReal();
};

#endif
