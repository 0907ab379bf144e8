// SPDX-License-Identifier: MIT
// The subcommand that finds mistakes in configuration files.
#ifndef IXLAL_TOOLS_CHECKCOMMAND_H
#define IXLAL_TOOLS_CHECKCOMMAND_H

#include "config/PConfigView.h"

#include <string>
#include <vector>

struct CheckRequest
{
    std::vector<std::string> files;
    ConfigOptions options; ///< an empty dir stands for the directory of each file
    bool isStore = false;  ///< the files are stores
    bool strict = false;   ///< exit with 1 for warnings too
    bool json = false;
};

/// Prints the findings and returns an exit code. Throws PToolError.
int runCheck(const CheckRequest& iRequest);

#endif
