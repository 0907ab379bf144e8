// SPDX-License-Identifier: MIT
// PDegradation: something that is missing from a start that succeeded.
#ifndef IXLAL_TOOLS_PDEGRADATION_H
#define IXLAL_TOOLS_PDEGRADATION_H

#include "host/EHostExit.h"

#include <string>

struct PDegradation
{
    EHostExit code;   ///< of the host with --strict
    std::string text; ///< what, which file or key, and what to do
};

#endif
