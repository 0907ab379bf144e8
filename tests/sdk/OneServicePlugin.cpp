// SPDX-License-Identifier: MIT
// A plugin that the helpers define from its service alone.

#include "helpers/PPlugin.h"
#include "sdk/TwoInterfaces.h"

IXLA_SERVICE_PLUGIN(PBoth, {kFirstInterfaceId, kSecondInterfaceId})
