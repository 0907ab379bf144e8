// SPDX-License-Identifier: MIT
/// @file
/// statusOfHost: describes this process.
#ifndef IXLAL_TOOLS_HOSTSTATUS_H
#define IXLAL_TOOLS_HOSTSTATUS_H

#include "control/PControlServices.h"
#include "control/PControlSettings.h"
#include "control/PJsonObject.h"

/// The members of the reply to "status". Asks for no interface, so no plugin is initialised: the
/// state of each plugin is read from the core log.
PJsonObject statusOfHost(const PControlServices& iServices, const PControlSettings& iSettings);

#endif
