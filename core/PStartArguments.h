// SPDX-License-Identifier: MIT
// PStartArguments: the core's own settings from the arguments of its start.
#ifndef IXLAL_PSTARTARGUMENTS_H
#define IXLAL_PSTARTARGUMENTS_H

#include "portinglayer/PBlank.h"
#include "portinglayer/PString.h"

class PLogger;

/// The core arguments with their defaults. Other keys are ignored.
class PStartArguments
{
public:
    /// Reads iCount arguments of the form key=value. A later one of the same key has precedence,
    /// and one without "=" is skipped. Returns 0, -501, or -502 for a value that is invalid for its
    /// key; a bad core.log.maxcount sets no limit instead. Bad values are logged unless iLogger is
    /// null, as in a start, whose log does not exist yet. May throw std::bad_alloc.
    int parse(const PString* iArgs, unsigned int iCount, PLogger* iLogger);

    PString fCorePrsFile;
    PString fLogFile;
    int fLogMaxSize = 0;
    int fLogParts = 0;
    int fLogLevel = 0;
    bool fLogEnable = true;
    int fLogMaxCount = 0;
    PString fPluginsDir;

private:
    int parseOne(const PSpan& iKey, const PSpan& iValue, PLogger* iLogger);
};

#endif
