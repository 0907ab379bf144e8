// SPDX-License-Identifier: MIT
/// @file
/// sarifOf: the findings in SARIF 2.1.0.
#ifndef IXLAL_TOOLS_SARIFREPORT_H
#define IXLAL_TOOLS_SARIFREPORT_H

#include "validate/PLibraryResult.h"

#include <string>
#include <vector>

/// A rule for each check and a result for each finding. A known finding is a suppressed result.
std::string sarifOf(const std::vector<PLibraryResult>& iResults);

#endif
