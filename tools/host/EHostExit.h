// SPDX-License-Identifier: MIT
// EHostExit: the exit codes of ixla-host.
#ifndef IXLAL_TOOLS_EHOSTEXIT_H
#define IXLAL_TOOLS_EHOSTEXIT_H

/// A second signal ends the host with 128 plus its number instead.
enum EHostExit : int
{
    eExitOk = 0,
    eExitStartFailed = 1,
    eExitOutputFailed = 1, ///< the standard output cannot be written; the same in all tools
    eExitUsage = 2,
    eExitInterfaceMissing = 3,
    eExitInterfaceFailed = 4,
    eExitReadyFile = 5,
    eExitStopFailed = 6,
    eExitHostFailed = 7,
    // With --strict, the first of these that a start shows.
    eExitPluginsDir = 8,
    eExitListedName = 9,
    eExitAutostart = 10,
    eExitCoreLog = 11,
    eExitIgnoredFile = 12,
    eExitByPlugin = 13, ///< a plugin has called exit
    eExitKeys = 14,     ///< with --strict, before the start
    // With --strict, the first of these that the information of the plugins shows.
    eExitRequirement = 15,
    eExitOfferedTwice = 16,
    eExitCircle = 17,
    eExitOldCore = 18,
    eExitDamagedInfo = 19
};

#endif
