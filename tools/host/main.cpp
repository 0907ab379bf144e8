// SPDX-License-Identifier: MIT
// ixla-host: runs the core with any set of plugins.

#include "host/PHost.h"
#include "host/PHostProcess.h"
#include "host/PServing.h"
#include "host/PWatchedHost.h"

#include <exception>
#include <iostream>

namespace
{
EHostExit _run(const PHostOptions& iOptions, PStandardOutput& ioOutput)
{
    PHostProcess process(iOptions, ioOutput);
    if (iOptions.fWatch)
    {
        return PWatchedHost(process).run();
    }
    PServing serving(process);
    return PHost(process, serving, "").run();
}
} // namespace

int main(int iCount, char** iArguments)
{
    PStandardOutput output("ixla-host");
    try
    {
        PHostOptions options;
        int exitCode = eExitOk;
        return options.parse(iCount, iArguments, exitCode) ? _run(options, output)
                                                           : output.exitCode(exitCode);
    }
    catch (const std::exception& problem)
    {
        std::cerr << "ixla-host: " << problem.what() << '\n';
        return eExitHostFailed;
    }
}
