// SPDX-License-Identifier: MIT
// The subcommands that print declared keys.
#ifndef IXLAL_TOOLS_DESCRIBECOMMANDS_H
#define IXLAL_TOOLS_DESCRIBECOMMANDS_H

#include "config/PConfigView.h"

#include <string>

struct DescribeRequest
{
    ConfigOptions options;
    std::string id;     ///< empty for all IDs
    bool names = false; ///< names only, one a line
    bool json = false;
};

/// Each prints to the standard output and returns an exit code. They throw PToolError.
int runDescribe(const DescribeRequest& iRequest);
int runTemplate(const DescribeRequest& iRequest);

#endif
