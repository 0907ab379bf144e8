// SPDX-License-Identifier: MIT
// The subcommands that copy, restore and repair the store.
#ifndef IXLAL_TOOLS_COPYCOMMANDS_H
#define IXLAL_TOOLS_COPYCOMMANDS_H

#include "config/PConfigView.h"

#include <string>

struct CopyRequest
{
    ConfigOptions options;
    std::string file;        ///< a copy; empty for those beside the store
    unsigned int copies = 3; ///< to keep
};

/// Each prints what it did and returns an exit code. They throw PToolError and PFileError.
int runBackup(const CopyRequest& iRequest);
int runRestore(const CopyRequest& iRequest);
int runRepair(const CopyRequest& iRequest);

#endif
