// SPDX-License-Identifier: MIT
// awaitFile: lets a plugin wait for a test.
#ifndef IXLAL_TESTS_AWAITEDFILE_H
#define IXLAL_TESTS_AWAITEDFILE_H

#include <chrono>
#include <thread>

#include <unistd.h>

/// Waits until there is a file iPath; a relative path is in the working directory.
inline void awaitFile(const char* iPath)
{
    while (::access(iPath, F_OK) != 0)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

#endif
