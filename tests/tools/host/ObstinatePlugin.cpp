// SPDX-License-Identifier: MIT
// A plugin that does what OBSTINATE in the environment says, whenever it is asked to initialise or
// to go.

#include "IPlugin.h"
#include "Ixla.h"
#include "plugins/Counted.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

namespace
{
bool _is(const char* iBehaviour)
{
    const char* const wanted = std::getenv("OBSTINATE");
    return wanted && std::string(wanted) == iBehaviour;
}

void _say(const char* iText)
{
    std::fputs(iText, stdout);
    std::fflush(stdout);
}

void _sleepForEver()
{
    for (;;)
    {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
}

class ObstinatePlugin final : public Counted<IPlugin>
{
public:
    ~ObstinatePlugin() override
    {
        if (_is("hang in stop"))
        {
            _say("hangs\n");
            _sleepForEver();
        }
    }

    int init() override
    {
        _say("initialises\n");
        if (_is("hang in init"))
        {
            _sleepForEver();
        }
        if (_is("slow init"))
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
        }
        if (_is("threads"))
        {
            std::thread(_sleepForEver).detach();
        }
        return _is("fail in init") ? -7 : eIxlaOk;
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        oCount = 1;
        return new PString[1]{PString(L"test.obstinate")};
    }

    int getInstance(const PLiteral&, IBase*& oInstance) override
    {
        oInstance = _is("null instance") ? nullptr : this;
        return eIxlaOk;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new ObstinatePlugin;
}
