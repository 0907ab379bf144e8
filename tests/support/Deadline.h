// SPDX-License-Identifier: MIT
// Deadline: ends a test that would otherwise block forever.
#ifndef IXLAL_TESTS_DEADLINE_H
#define IXLAL_TESTS_DEADLINE_H

#include <unistd.h>

/// Kills the process by SIGALRM when its scope is not left in time. For operations that cannot be
/// interrupted, such as a thread that waits for the loader.
class Deadline
{
public:
    explicit Deadline(unsigned int iSeconds = 30)
    {
        ::alarm(iSeconds);
    }

    ~Deadline()
    {
        ::alarm(0);
    }

    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
};

#endif
