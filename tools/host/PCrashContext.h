// SPDX-License-Identifier: MIT
// PCrashContext: what the host prepares for the report of a fatal signal.
#ifndef IXLAL_TOOLS_PCRASHCONTEXT_H
#define IXLAL_TOOLS_PCRASHCONTEXT_H

#include "host/PPluginTable.h"

#include <string>
#include <sys/types.h>

struct PCrashContext
{
    PPluginTable& plugins;
    std::string log;       ///< the absolute path of the core log; empty for none
    bool isLogFile;        ///< whether the report goes to the log too
    off_t logBegin;        ///< the size of the log before the start
    long secondsEastOfUtc; ///< for the time of the report's lines in the log
};

#endif
