// SPDX-License-Identifier: MIT
/// @file
/// junitOf: the results in the XML of JUnit.
#ifndef IXLAL_TOOLS_JUNITREPORT_H
#define IXLAL_TOOLS_JUNITREPORT_H

#include "validate/PLibraryResult.h"

#include <string>
#include <vector>

/// A suite for each library and a case for each check. A known finding counts as skipped.
std::string junitOf(const std::vector<PLibraryResult>& iResults);

#endif
