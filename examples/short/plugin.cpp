// SPDX-License-Identifier: MIT
#include "minimal/IHello.h"

#include "helpers/PPlugin.h"

struct Hello : PService<IHello>
{
    const wchar_t* greet(int iCount) override { return iCount == 1 ? L"Hello!" : L"Hello again!"; }
};
struct HelloPlugin : PPlugin
{
    HelloPlugin() { offer<Hello>(kHelloId); }
};
IXLA_PLUGIN(HelloPlugin)
