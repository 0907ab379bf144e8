// SPDX-License-Identifier: MIT
// A plugin that does what OBSTINATE in the environment says, whenever it is asked to initialise or
// to go.

#include "IConfigManager.h"
#include "IPlugin.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "support/AwaitedFile.h"
#include "support/PluginService.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

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

/// Returns 0 if a forked process ends with its own exit code.
int _exitInChild()
{
    const pid_t child = fork();
    if (child == 0)
    {
        std::exit(7);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return 7 - WEXITSTATUS(status);
}

void _exitOnRequest()
{
    awaitFile("exit");
    std::exit(0);
}

/// Reads a configuration, and so holds the lock of the manager meanwhile.
void _loadOnRequest()
{
    awaitFile("load");
    IBase* instance = nullptr;
    if (ixlaGetInstance(kIxlaConfigManagerId, instance) == eIxlaOk)
    {
        PBaseptr<IConfig> config;
        const PBaseptr<IConfigManager> manager(static_cast<IConfigManager*>(instance));
        manager->loadByID(L"test.pipe", config);
    }
}

void _sleepForEver()
{
    for (;;)
    {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
}

class ObstinatePlugin final : public PluginService
{
public:
    using PluginService::PluginService;

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
        if (_is("wait in init"))
        {
            awaitFile("go");
        }
        if (_is("load on request"))
        {
            std::thread(_loadOnRequest).detach();
        }
        if (_is("exit of a child"))
        {
            return _exitInChild();
        }
        if (_is("exit in init"))
        {
            std::exit(3);
        }
        if (_is("quick exit in a thread"))
        {
            std::thread([] { std::quick_exit(0); }).join();
        }
        if (_is("exit in a thread"))
        {
            std::thread([] { std::exit(0); }).join();
        }
        if (_is("exit on request"))
        {
            std::thread(_exitOnRequest).detach();
        }
        if (_is("threads"))
        {
            std::thread(_sleepForEver).detach();
        }
        return _is("fail in init") ? -7 : eIxlaOk;
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
    if (_is("wait in the factory"))
    {
        awaitFile("go");
    }
    if (_is("exit in the factory"))
    {
        std::exit(1);
    }
    return new ObstinatePlugin({L"test.obstinate"});
}
