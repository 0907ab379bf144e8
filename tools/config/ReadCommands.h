// SPDX-License-Identifier: MIT
// The subcommands that look at a configuration directory and leave it as it is.
#ifndef IXLAL_TOOLS_READCOMMANDS_H
#define IXLAL_TOOLS_READCOMMANDS_H

#include "config/PConfigView.h"

#include <string>

/// What one of them is asked; names are bytes as given.
struct ReadRequest
{
    ConfigOptions options;
    std::string id;
    std::string key;
    std::string attribute;
    bool hasAttribute = false;
    bool json = false;
    bool verbose = false; ///< more than the names alone
};

/// Each prints to the standard output and returns an exit code. They throw PToolError.
int runIds(const ReadRequest& iRequest);
int runKeys(const ReadRequest& iRequest);
int runGet(const ReadRequest& iRequest);
int runExplain(const ReadRequest& iRequest);

#endif
