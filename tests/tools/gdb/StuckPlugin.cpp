// SPDX-License-Identifier: MIT
// A plugin that gets stuck. Copied as libNAME.so it offers "stuck.NAME", and STUCK_NAME in the
// environment has the steps of its init, with commas between them; see take(). A step that runs
// others runs those in the variable STUCK_OTHER. Each step is printed before it is taken.

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "IEventListener.h"
#include "ILogger.h"
#include "IPlugin.h"
#include "Ixla.h"
#include "support/AwaitedFile.h"
#include "support/Counted.h"
#include "support/PluginService.h"
#include "support/Texts.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>

namespace
{
std::mutex sLocks[2];

std::string _name()
{
    Dl_info info = {};
    ::dladdr(reinterpret_cast<void*>(&_name), &info);
    return std::filesystem::path(info.dli_fname).stem().string().substr(3);
}

[[gnu::noinline]] void sleepForEver()
{
    for (;;)
    {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

template <class TInterface>
TInterface& _service(const PLiteral& iId)
{
    IBase* instance = nullptr;
    if (ixlaGetInstance(iId, instance) != eIxlaOk)
    {
        std::abort();
    }
    return *static_cast<TInterface*>(instance);
}

void _run(const std::string& iSteps);

/// Runs the steps of its topic.
class Listener final : public Counted<IEventListener>
{
public:
    int handleEvent(const PLiteral& iTopic, IBase*, int) override
    {
        _run(narrow(iTopic));
        return eIxlaOk;
    }
};

/// "touch FILE", "await FILE": in the directory of the process.
void _meet(const std::string& iVerb, const std::string& iFile)
{
    if (iVerb == "touch")
    {
        std::ofstream(iFile).flush();
        return;
    }
    awaitFile(iFile.c_str());
}

IBase* _ask(const std::string& iName)
{
    IBase* instance = nullptr;
    // A deadlock or a failure is what the tests look at.
    static_cast<void>(ixlaGetInstance(wide("stuck." + iName), instance));
    return instance;
}

std::vector<std::thread>& _threads()
{
    static auto* const threads = new std::vector<std::thread>;
    return *threads;
}

/// "set ID KEY VALUE", "pin ID KEY", "store ID KEY VALUE", "watch ID TOPIC"
void _configure(const std::string& iVerb, std::istringstream& ioWords)
{
    std::string id;
    std::string key;
    std::string value;
    ioWords >> id >> key >> value;
    auto& manager = _service<IConfigManager>(kIxlaConfigManagerId);
    const int result = iVerb == "set"     ? manager.setString(wide(id), wide(key), wide(value))
                       : iVerb == "pin"   ? manager.setAttrBool(wide(id), wide(key), L"const", true)
                       : iVerb == "store" ? manager.storeString(wide(id), wide(key), wide(value))
                                          : manager.addListener(wide(id), wide(key));
    std::printf("%s: %d\n", iVerb.c_str(), result);
}

/// "listen TOPIC", "send TOPIC"
void _notify(const std::string& iVerb, const std::string& iTopic)
{
    auto& dispatcher = _service<IEventDispatcher>(kIxlaEventDispatcherId);
    const int result = iVerb == "listen" ? dispatcher.addListener(wide(iTopic), new Listener)
                                         : dispatcher.send(wide(iTopic), nullptr, 1);
    std::printf("%s: %d\n", iVerb.c_str(), result);
}

/// "load ID": reads a value, and so the store.
void _load(const std::string& iId)
{
    PBaseptr<IConfig> config;
    PString value;
    const int loaded = _service<IConfigManager>(kIxlaConfigManagerId).loadByID(wide(iId), config);
    std::printf("load: %d\n", loaded == 0 ? config->getString(L"none", value) : loaded);
}

void _take(const std::string& iVerb, std::istringstream& ioWords)
{
    std::string object;
    if (iVerb == "ask" && ioWords >> object)
    {
        static_cast<void>(_ask(object));
    }
    else if (iVerb == "unload" && ioWords >> object)
    {
        std::printf("unload: %d\n", ixlaUnloadPlugin(static_cast<IPlugin*>(_ask(object))));
    }
    else if (iVerb == "thread" && ioWords >> object)
    {
        _threads().emplace_back([object] { _run(object); });
    }
    else if (iVerb == "join")
    {
        _threads().back().join();
    }
    else if (iVerb == "lock" && ioWords >> object)
    {
        sLocks[std::stoi(object)].lock();
    }
    else if ((iVerb == "touch" || iVerb == "await") && ioWords >> object)
    {
        _meet(iVerb, object);
    }
    else if (iVerb == "load" && ioWords >> object)
    {
        _load(object);
    }
    else if (iVerb == "listen" || iVerb == "send")
    {
        ioWords >> object;
        _notify(iVerb, object);
    }
    else if (iVerb == "sleep")
    {
        sleepForEver();
    }
    else if (iVerb == "abort")
    {
        std::abort();
    }
    else
    {
        _configure(iVerb, ioWords);
    }
}

void _run(const std::string& iSteps)
{
    const char* const value = std::getenv(("STUCK_" + iSteps).c_str());
    std::istringstream steps(value ? value : "");
    for (std::string step; std::getline(steps, step, ',');)
    {
        std::printf("%s\n", step.c_str());
        std::fflush(stdout);
        std::istringstream words(step);
        std::string verb;
        words >> verb;
        _take(verb, words);
    }
    std::fflush(stdout);
}

class StuckPlugin final : public PluginService
{
public:
    using PluginService::PluginService;

    int init() override
    {
        _run(_name());
        return eIxlaOk;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new StuckPlugin({wide("stuck." + _name())});
}
