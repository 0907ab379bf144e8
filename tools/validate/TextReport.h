// SPDX-License-Identifier: MIT
/// @file
/// The lines that ixla-validate writes.
#ifndef IXLAL_TOOLS_TEXTREPORT_H
#define IXLAL_TOOLS_TEXTREPORT_H

#include "validate/PLibraryResult.h"

#include <string>
#include <vector>

/// The lines of a result: outcome, name, finding, and advice.
std::string linesOf(const PCheckResult& iResult);

/// The line after the results of a library.
std::string conclusionOf(const PLibraryResult& iResult);

/// The line after all libraries.
std::string summaryOf(const std::vector<PLibraryResult>& iResults);

#endif
