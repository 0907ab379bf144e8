// SPDX-License-Identifier: MIT
#include "PGreeter.h"
#include "helpers/PPlugin.h"

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
