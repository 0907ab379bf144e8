// SPDX-License-Identifier: MIT
/// @file
/// memcheckFindings: reads the XML that valgrind's memcheck writes.
#ifndef IXLAL_TOOLS_MEMCHECKREPORT_H
#define IXLAL_TOOLS_MEMCHECKREPORT_H

#include "validate/PMemoryFinding.h"

#include <string>
#include <vector>

/// The errors with a frame in the library iPlugin, which is an absolute path without links; leaks
/// only if iLeaks is set, because memcheck always reports them in XML. The report may end anywhere,
/// because the process may have been killed.
std::vector<PMemoryFinding> memcheckFindings(const std::string& iXml, const std::string& iPlugin,
                                             bool iLeaks);

#endif
