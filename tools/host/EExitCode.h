// SPDX-License-Identifier: MIT
// EExitCode: the exit codes of ixla-host.
#ifndef IXLAL_TOOLS_EEXITCODE_H
#define IXLAL_TOOLS_EEXITCODE_H

/// A second signal ends the host with 128 plus its number instead.
enum EExitCode : int
{
    eExitOk = 0,
    eExitStartFailed = 1,
    eExitOutputFailed = 1, ///< the standard output cannot be written; the same in all tools
    eExitUsage = 2,
    eExitInterfaceMissing = 3,
    eExitInterfaceFailed = 4,
    eExitReadyFile = 5,
    eExitStopFailed = 6,
    eExitHostFailed = 7
};

#endif
