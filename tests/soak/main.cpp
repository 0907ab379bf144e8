// SPDX-License-Identifier: MIT
// Runs the soak: ixlal-soak [--seconds N] [--leak memory|handle|error]

#include "soak/Soak.h"

#include <exception>
#include <iostream>

int main(int iCount, char** iArguments)
{
    SoakOptions options;
    if (!options.parse(iCount, iArguments))
    {
        std::cerr << "Usage: ixlal-soak [--seconds N] [--leak memory|handle|error]\n";
        return 2;
    }
    try
    {
        return Soak(options).run() ? 0 : 1;
    }
    catch (const std::exception& failure)
    {
        std::cerr << "The soak ended: " << failure.what() << '\n';
        return 1;
    }
}
