// SPDX-License-Identifier: MIT
#include "PGreeter.h"
#include "helpers/PPlugin.h"
#include "helpers/PluginInfo.h"

namespace
{
class GreeterPlugin : public PPlugin
{
public:
    GreeterPlugin()
    {
        offer<PGreeter>(kGreeterId);
    }
};
} // namespace

IXLA_PLUGIN(GreeterPlugin)
IXLA_PLUGIN_INFO(IXLA_INFO_NAME("greeter"), IXLA_INFO_VERSION("1.0.0"),
                 IXLA_INFO_DESCRIPTION("Greets with the text of its configuration"),
                 IXLA_INFO_AUTHOR("The ixlal authors"), IXLA_INFO_LICENSE("MIT"),
                 IXLA_INFO_CORE("3.3.0"),
                 IXLA_INFO_OFFERS("com.example.greeter", "makes greetings"))
