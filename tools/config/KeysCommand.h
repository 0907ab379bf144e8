// SPDX-License-Identifier: MIT
// The subcommand that lists the keys of the core.
#ifndef IXLAL_TOOLS_KEYSCOMMAND_H
#define IXLAL_TOOLS_KEYSCOMMAND_H

/// Prints the table, and returns an exit code.
int runCoreKeys(bool iJson);

#endif
