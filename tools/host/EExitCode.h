// SPDX-License-Identifier: MIT
// EExitCode: how ixla-host ends.
#ifndef IXLAL_TOOLS_EEXITCODE_H
#define IXLAL_TOOLS_EEXITCODE_H

/// A second signal ends the host with 128 and its number instead.
enum EExitCode : int
{
    eExitOk = 0,
    eExitStartFailed = 1,
    eExitOutputFailed = 1, ///< the standard output cannot be written; one code in all tools
    eExitUsage = 2,
    eExitInterfaceMissing = 3,
    eExitInterfaceFailed = 4,
    eExitReadyFile = 5,
    eExitStopFailed = 6,
    eExitHostFailed = 7
};

#endif
