// SPDX-License-Identifier: MIT
// The subcommands that read a configuration directory and do not change it.
#ifndef IXLAL_TOOLS_READCOMMANDS_H
#define IXLAL_TOOLS_READCOMMANDS_H

#include "config/PConfigView.h"

#include <string>

/// The arguments of a subcommand; names are bytes as given.
struct ReadRequest
{
    ConfigOptions options;
    std::string id;
    std::string key;
    std::string attribute;
    bool hasAttribute = false;
    bool json = false;
    bool verbose = false; ///< print more than the names
};

/// Each prints to the standard output and returns an exit code. They throw PToolError.
int runIds(const ReadRequest& iRequest);
int runKeys(const ReadRequest& iRequest);
int runGet(const ReadRequest& iRequest);
int runExplain(const ReadRequest& iRequest);

#endif
