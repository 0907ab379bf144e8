// SPDX-License-Identifier: MIT
/// @file
/// checkHost: finds what this host lacks.
#ifndef IXLAL_TOOLS_HOSTCHECK_H
#define IXLAL_TOOLS_HOSTCHECK_H

#include "control/PControlServices.h"

#include <string>
#include <vector>

/// One thing that is wrong.
struct HostFinding
{
    std::string what;
    std::string where; ///< the file, or the key with its value
    std::string remedy;
};

/// Checks directories, the lists of libraries, logs, configuration files and the store. The keys of
/// the start are read from the command line of the process, or else from the core log.
std::vector<HostFinding> checkHost(const PControlServices& iServices);

#endif
