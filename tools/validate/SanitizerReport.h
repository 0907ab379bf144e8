// SPDX-License-Identifier: MIT
/// @file
/// sanitizerFindings: reads the reports of the address sanitizer.
#ifndef IXLAL_TOOLS_SANITIZERREPORT_H
#define IXLAL_TOOLS_SANITIZERREPORT_H

#include "validate/PMemoryFinding.h"

#include <string>
#include <vector>

/// The value of stack_trace_format in ASAN_OPTIONS with which reports can be read.
extern const char kSanitizerFrames[];

/// The errors, undefined behaviour, and the leaks with a frame in the library iPlugin, which is an
/// absolute path without links.
std::vector<PMemoryFinding> sanitizerFindings(const std::string& iReport,
                                              const std::string& iPlugin);

#endif
