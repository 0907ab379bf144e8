// SPDX-License-Identifier: MIT
// ixla-host: runs the core with any set of plugins.

#include "host/PHost.h"

#include <exception>
#include <iostream>

int main(int iCount, char** iArguments)
{
    PStandardOutput output("ixla-host");
    try
    {
        PHostOptions options;
        int exitCode = eExitOk;
        return options.parse(iCount, iArguments, exitCode) ? PHost(options, output).run()
                                                           : output.exitCode(exitCode);
    }
    catch (const std::exception& problem)
    {
        std::cerr << "ixla-host: " << problem.what() << '\n';
        return eExitHostFailed;
    }
}
