// SPDX-License-Identifier: MIT
// Files that the configuration manager reads beside a stop.

#include "Scenario.h"
#include "scenarios/support/CoreSetup.h"

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
    const int writer = open(pipe.c_str(), O_RDWR | O_NONBLOCK);
    constexpr char kLine[] = "key = value\n";
    requireEqual(sizeof(kLine) - 1, write(writer, kLine, sizeof(kLine) - 1), "the written line");
    close(writer);
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
