// SPDX-License-Identifier: MIT
// Other processes that run a core.
#ifndef IXLAL_TOOLS_OTHERCORES_H
#define IXLAL_TOOLS_OTHERCORES_H

#include <string>
#include <vector>

/// The processes that have the library of the core loaded, "name (ID)" each, except this one.
/// Only root sees those of other users. Empty without /proc.
std::vector<std::string> findOtherCores();

#endif
