// SPDX-License-Identifier: MIT
// The subcommands that change the store.
#ifndef IXLAL_TOOLS_STORECOMMANDS_H
#define IXLAL_TOOLS_STORECOMMANDS_H

#include "config/PConfigView.h"

#include <string>

/// The arguments of a subcommand; names are bytes as given.
struct StoreRequest
{
    ConfigOptions options;
    std::string id;
    std::string key;
    std::string value; ///< what to store
    std::string attribute;
    bool hasAttribute = false;
};

/// Each prints the line of the store and returns an exit code; warnings go to the standard error
/// stream. They throw PToolError.
int runStore(const StoreRequest& iRequest);
int runRemove(const StoreRequest& iRequest);

#endif
