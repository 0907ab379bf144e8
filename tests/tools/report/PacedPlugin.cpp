// SPDX-License-Identifier: MIT
// A plugin that takes its time. Copied as libNAME.so it offers "paced.NAME", and PACE_NAME in the
// environment says what its init does: steps such as "sleep 100", "ask OTHER", "thread OTHER" (a
// thread of its own asks, and is not waited for before the end), "touch FILE", "await FILE",
// "grow 8" (megabytes) and "fail", with commas between them.

#include "IPlugin.h"
#include "Ixla.h"
#include "support/AwaitedFile.h"
#include "support/PluginService.h"
#include "support/Texts.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>

namespace
{
std::string _name()
{
    Dl_info info = {};
    ::dladdr(reinterpret_cast<void*>(&_name), &info);
    return std::filesystem::path(info.dli_fname).stem().string().substr(3);
}

void _ask(const std::string& iName)
{
    IBase* instance = nullptr;
    static_cast<void>(ixlaGetInstance(wide("paced." + iName), instance)); // the log tells
}

class PacedPlugin final : public PluginService
{
public:
    using PluginService::PluginService;

    ~PacedPlugin() override
    {
        for (std::thread& thread : fThreads)
        {
            thread.join();
        }
    }

    int init() override
    {
        const char* const pace = std::getenv(("PACE_" + _name()).c_str());
        std::istringstream steps(pace ? pace : "");
        int result = eIxlaOk;
        for (std::string step; std::getline(steps, step, ',');)
        {
            std::istringstream words(step);
            std::string verb;
            std::string object;
            words >> verb >> object;
            result = verb == "fail" ? -42 : result;
            take(verb, object);
        }
        return result;
    }

private:
    void take(const std::string& iVerb, const std::string& iObject)
    {
        if (iVerb == "sleep")
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(iObject)));
        }
        else if (iVerb == "ask")
        {
            _ask(iObject);
        }
        else if (iVerb == "thread")
        {
            fThreads.emplace_back([iObject] { _ask(iObject); });
        }
        else if (iVerb == "touch")
        {
            std::ofstream(iObject).flush();
        }
        else if (iVerb == "await")
        {
            awaitFile(iObject.c_str());
        }
        else if (iVerb == "grow")
        {
            fMemory.resize(fMemory.size() + std::stoul(iObject) * 1024 * 1024, 'x');
        }
    }

    std::vector<std::thread> fThreads;
    std::string fMemory;
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new PacedPlugin({wide("paced." + _name())});
}
