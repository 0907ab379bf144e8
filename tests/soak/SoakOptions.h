// SPDX-License-Identifier: MIT
// SoakOptions: what the soak is asked to do.
#ifndef IXLAL_TESTS_SOAKOPTIONS_H
#define IXLAL_TESTS_SOAKOPTIONS_H

#include <chrono>
#include <string>

struct SoakOptions
{
    /// Reads --seconds N and --leak memory|handle|error; false for anything else.
    bool parse(int iCount, char** iArguments);

    std::chrono::seconds time{20};

    /// What to do wrong, to show that the soak notices.
    std::string leak;
};

#endif
