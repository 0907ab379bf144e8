// SPDX-License-Identifier: MIT
/// @file
/// pluginFiles, pluginFile: the libraries that a core would load.
#ifndef IXLAL_TOOLS_PLUGINFILES_H
#define IXLAL_TOOLS_PLUGINFILES_H

#include "shared/PCoreSettings.h"

#include <string>
#include <vector>

/// The paths of the libraries that a core with these settings loads, in its order: those of
/// core.plugins.dir that core.load.plugin.list names, or all without a list. Some may not be
/// plugins. Empty for a directory that cannot be read.
std::vector<std::string> pluginFiles(const PCoreSettings& iSettings);

/// The file name of a plugin in a list, as the core completes it.
PString pluginFile(PString iName);

#endif
