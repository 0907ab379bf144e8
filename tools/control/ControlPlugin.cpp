// SPDX-License-Identifier: MIT
// The control plugin: a running host answers requests at a socket.
#include "control/PControl.h"
#include "helpers/PPlugin.h"

namespace
{
class ControlPlugin : public PPlugin
{
public:
    ControlPlugin()
    {
        offer<PControl>(kControlId);
    }
};
} // namespace

IXLA_PLUGIN(ControlPlugin)
