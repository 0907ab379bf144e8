// SPDX-License-Identifier: MIT
// Other processes that use a configuration directory.
#ifndef IXLAL_TOOLS_STOREUSERS_H
#define IXLAL_TOOLS_STOREUSERS_H

#include <string>
#include <vector>

/// The processes that have the library of the core loaded and use the directory, "name (ID)" each,
/// except this one. A process uses a directory if its working directory, an open or a mapped file,
/// an argument, or the core.plugins.config.dir of a property file among its arguments is that
/// directory or is inside. Only root sees those of other users. Empty without /proc.
std::vector<std::string> findUsersOf(const std::string& iDirectory);

/// Prints a warning if a process uses the configuration directory or that of the store.
void warnOfUsers(const std::string& iDirectory, const std::string& iStorePath);

#endif
