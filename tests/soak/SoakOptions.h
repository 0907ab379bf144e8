// SPDX-License-Identifier: MIT
// SoakOptions: the command line of the soak.
#ifndef IXLAL_TESTS_SOAKOPTIONS_H
#define IXLAL_TESTS_SOAKOPTIONS_H

#include <chrono>
#include <string>

struct SoakOptions
{
    /// Reads --seconds N and --leak memory|handle|error; false for anything else.
    bool parse(int iCount, char** iArguments);

    std::chrono::seconds time{20};

    /// The deliberate error, which shows that the soak detects it.
    std::string leak;
};

#endif
