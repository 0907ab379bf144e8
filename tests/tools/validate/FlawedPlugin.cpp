// SPDX-License-Identifier: MIT
// A plugin with the flaw that FLAW in the environment names; without one it keeps the contract.

#include "helpers/PPlugin.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

namespace
{
constexpr wchar_t kId[] = L"test.flawed";

bool _has(const char* iFlaw)
{
    const char* const flaw = std::getenv("FLAW");
    return flaw && std::strcmp(flaw, iFlaw) == 0;
}

/// Waits until another process with this plugin waits too. Each leaves a file in MEETING.
void _meetAnother()
{
    const std::filesystem::path place = std::getenv("MEETING");
    std::ofstream(place / std::to_string(::getpid())).flush();
    while (std::distance(std::filesystem::directory_iterator(place), {}) < 2)
    {
        ::usleep(1000);
    }
}

class Service : public PService<IBase>
{
public:
    int onInit() override
    {
        if (_has("crash in init"))
        {
            std::abort();
        }
        if (_has("exit in init"))
        {
            std::exit(3);
        }
        if (_has("hang in init"))
        {
            ::pause();
        }
        if (_has("meets another"))
        {
            _meetAnother();
        }
        if (_has("noise"))
        {
            static const char kVerdict[] = "verdict {\"passed\": false}\n\x1b[31mred\n";
            (void)!::write(1, kVerdict, sizeof kVerdict);
            std::abort();
        }
        if (_has("exception in init"))
        {
            throw std::runtime_error("init gave up");
        }
        if (_has("removed file"))
        {
            (void)::unlink(std::getenv("FILE_TO_REMOVE"));
        }
        leaveBehind();
        return _has("failed init") ? -42 : 0;
    }

private:
    void leaveBehind()
    {
        if (_has("thread"))
        {
            std::thread([] { ::pause(); }).detach();
        }
        if (_has("handle"))
        {
            (void)::open("/dev/zero", O_RDONLY);
        }
        if (_has("daemon") && ::fork() == 0)
        {
            ::setsid();
            ::alarm(100);
            ::pause();
        }
        if (_has("slow exit"))
        {
            const auto listener = ixlaListener([](const PLiteral&, IBase*, int) { ::sleep(60); });
            (void)ixlaService<IEventDispatcher>()->addListener(kIxlaCoreExitTopic, listener.get());
        }
    }
};

class FlawedPlugin : public PPlugin
{
public:
    FlawedPlugin()
    {
        offer<Service>(kId);
        if (_has("born counted"))
        {
            incRef();
        }
        if (_has("mapped"))
        {
            Dl_info info;
            ::dladdr(kId, &info);
            ::dlopen(info.dli_fname, RTLD_NOW | RTLD_NODELETE);
        }
    }

    PString* getInterfaces(unsigned int& oCount) noexcept override
    {
        if (_has("count without array"))
        {
            oCount = 3;
            return nullptr;
        }
        if (_has("array without count"))
        {
            oCount = 0;
            return new PString[2];
        }
        if (_has("count above array"))
        {
            oCount = 3;
            return new PString[2];
        }
        if (_has("no interfaces"))
        {
            oCount = 0;
            return nullptr;
        }
        return listTwo(oCount);
    }

    int getInstance(const PLiteral& iId, IBase*& oInstance) noexcept override
    {
        if (_has("unknown is served") && iId != kId)
        {
            return PPlugin::getInstance(kId, oInstance);
        }
        if (_has("unknown is not null") && iId != kId)
        {
            return eIxlaUnknownInterface;
        }
        const int result = PPlugin::getInstance(iId, oInstance);
        if (_has("instance counted") && oInstance)
        {
            oInstance->incRef();
        }
        if (_has("instance anew") && oInstance)
        {
            oInstance = new Service;
        }
        if (_has("instance is null"))
        {
            oInstance = nullptr;
        }
        return result;
    }

private:
    PString* listTwo(unsigned int& oCount)
    {
        static int sCalls = 0;
        const bool two = _has("duplicate ID") || _has("empty ID") || _has("built-in ID") ||
                         (_has("changing IDs") && ++sCalls % 2 == 0);
        std::unique_ptr<PString[]> ids(new PString[two ? 2 : 1]);
        ids[0] = kId;
        if (two)
        {
            ids[1] = _has("empty ID") ? L"" : _has("built-in ID") ? kIxlaLoggerId : kId;
        }
        oCount = two ? 2 : 1;
        return ids.release();
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    if (_has("no plugin"))
    {
        return nullptr;
    }
    if (_has("exception in factory"))
    {
        throw std::runtime_error("no factory today");
    }
    return ixlaNewPlugin<FlawedPlugin>();
}
