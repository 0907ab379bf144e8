// SPDX-License-Identifier: MIT
// Files that the configuration manager reads beside a stop.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"
#include "scenarios/support/PluginSteps.h"

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "helpers/ServiceLookup.h"

#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using schedules::require;
using schedules::requireEqual;

namespace
{
CoreSetup _startedWith(const char* iFiles)
{
    CoreSetup core;
    core.keepLibraries();
    core.writeConfig("ixlap.configmanager.prs", iFiles);
    core.mustStart();
    return core;
}

void _load(IConfigManager& ioManager)
{
    PBaseptr<IConfig> config;
    requireEqual(0, ioManager.loadByID(L"id", config), "the load");
    PString value;
    requireEqual(0, config->getString(L"key", value), "the value");
}

/// Lets a load of the pipe config/pipe that waits for a line end.
void _writeToPipe(const CoreSetup& iCore)
{
    const int writer = open(iCore.path("config/pipe").c_str(), O_RDWR | O_NONBLOCK);
    constexpr char kLine[] = "key = value\n";
    requireEqual(sizeof(kLine) - 1, write(writer, kLine, sizeof(kLine) - 1), "the written line");
    close(writer);
}
} // namespace

SCENARIO(LoadBesideAStop, .milliseconds = 100, .jumps = false)
{
    const CoreSetup core = _startedWith("id = id.prs\n");
    core.writeConfig("id.prs", "key = value\n");
    const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>();
    std::thread loader([&] { _load(*manager); });
    requireEqual(0, ixlaStop(), "the core stops");
    loader.join();
}

SCENARIO(LoadOfAPipeBesideAStop, .milliseconds = 5500, .jumps = false)
{
    const CoreSetup core = _startedWith("id = pipe\n");
    const std::string pipe = core.path("config/pipe");
    requireEqual(0, mkfifo(pipe.c_str(), 0600), "the pipe");
    const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>();
    std::thread loader([&] { _load(*manager); });
    requireEqual(0, ixlaStop(), "the core stops, although a load does not end");
    // Time passes when the loader waits for a line.
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    _writeToPipe(core);
    loader.join();
}

SCENARIO(LoadOfAPipeThatKeepsTheCore, .milliseconds = 5001, .jumps = false)
{
    CoreSetup core{"alpha"};
    core.keepLibraries();
    core.writeLogs();
    core.writeConfig("ixlap.configmanager.prs", "id = pipe\n");
    core.mustStart();
    requireEqual(0, mkfifo(core.path("config/pipe").c_str(), 0600), "the pipe");
    const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>();
    std::thread loader([&] { _load(*manager); });
    // Time passes when the loader waits for a line.
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    requireEqual(0, ixlaStop(), "the core stops");
    requireEqual(5001, static_cast<long long>(schedules::nanoseconds() / 1000000), "milliseconds");
    for (const char* text : {"Configuration manager is busy on another thread",
                             "Calls that do not leave the core: 1, keep plugins and libraries"})
    {
        requireEqual(1, core.countLines("core.log", text), text);
    }
    requireEqual(0, PluginSteps::count("alpha.destroyed"), "destroyed plugins");
    requireEqual(eIxlaCoreNotStarted, ixlaStop(), "a second stop");
    _writeToPipe(core);
    loader.join();
}

SCENARIO(StoreThatIsBrokenBesideAStop, .milliseconds = 100, .jumps = false)
{
    CoreSetup core;
    core.keepLibraries();
    core.set("core.log.file", core.path("core.log"));
    core.writeConfig("store.txt", "broken\n");
    core.mustStart();
    const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>();
    std::thread storer(
        [&] { require(manager->storeString(L"id", L"key", L"value") != 0, "the storer fails"); });
    requireEqual(0, ixlaStop(), "the core stops");
    storer.join();
}
