// SPDX-License-Identifier: MIT
// PLaunch: how the process of a check starts.
#ifndef IXLAL_TOOLS_PLAUNCH_H
#define IXLAL_TOOLS_PLAUNCH_H

#include <map>
#include <string>
#include <vector>

/// Without a command the process is a fork of the tool.
struct PLaunch
{
    std::vector<std::string> command; ///< the words before the arguments of the check
    std::map<std::string, std::string> environment;
};

#endif
