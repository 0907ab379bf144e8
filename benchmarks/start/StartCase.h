// SPDX-License-Identifier: MIT
#ifndef IXLAL_BENCHMARKS_STARTCASE_H
#define IXLAL_BENCHMARKS_STARTCASE_H

#include "support/Contest.h"

/// What does a start cost, without and with all plugins in the autostart list? The sizes are plugin
/// libraries in the directory.
void enterStart(Contest& ioContest);

#endif
