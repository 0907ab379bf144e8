// SPDX-License-Identifier: MIT
// The control plugin: a running host answers requests at a socket.
#include "control/PControl.h"
#include "helpers/PPlugin.h"
#include "helpers/PluginInfo.h"

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
IXLA_PLUGIN_INFO(IXLA_INFO_NAME("ixlal-control"), IXLA_INFO_VERSION(IXLAL_VERSION),
                 IXLA_INFO_DESCRIPTION("Answers requests of ixla-ctl to a running host"),
                 IXLA_INFO_AUTHOR("The ixlal authors"), IXLA_INFO_LICENSE("MIT"),
                 IXLA_INFO_OFFERS("com.kelvora.ixla.control", "starts with the core"))
