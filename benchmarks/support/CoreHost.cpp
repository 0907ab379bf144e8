// SPDX-License-Identifier: MIT
#include "support/CoreHost.h"

#include "support/BenchDir.h"
#include "support/InterfacesPlugin.h"
#include "support/LibraryCopies.h"
#include "support/Stopwatch.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace fs = std::filesystem;

namespace
{
struct Host
{
    explicit Host(const HostSetup& iSetup) : setup(iSetup), dir(BenchDir::eMemory)
    {
    }

    HostSetup setup;
    BenchDir dir;
};

std::unique_ptr<Host> sHost;

[[noreturn]] void _die(const char* iWhat, int iResult)
{
    std::fprintf(stderr, "%s: %d\n", iWhat, iResult);
    std::exit(1);
}

void _write(const Host& iHost)
{
    for (const char* name : {"plugins", "config", "log"})
    {
        fs::create_directory(iHost.dir.path() / name);
    }
    iHost.dir.write("config/ixlap.configmanager.prs",
                    "ixlap.configmanager.store.file = store.txt\nbench = bench.prs\n" +
                        iHost.setup.manager);
    iHost.dir.write("config/bench.prs", iHost.setup.config);
    if (!iHost.setup.store.empty())
    {
        iHost.dir.write("config/store.txt", iHost.setup.store);
    }
    if (iHost.setup.interfaces > 0)
    {
        fs::copy(fs::path(IXLAL_BENCH_PLUGINS) / "libinterfaces.so", iHost.dir.path() / "plugins");
    }
}

std::vector<PString> _arguments(const Host& iHost)
{
    const std::wstring path = iHost.dir.path().wstring();
    const std::wstring plugins = fs::path(iHost.setup.pluginsDir).wstring();
    std::vector<PString> arguments = {
        (L"core.plugins.dir=" + (plugins.empty() ? path + L"/plugins" : plugins)).c_str(),
        (L"core.plugins.config.dir=" + path + L"/config").c_str(),
        (L"core.plugins.log.dir=" + path + L"/log").c_str(),
        iHost.setup.pluginLog ? L"core.plugins.log.enable=true" : L"core.plugins.log.enable=false",
        // Set, because a core that closes libraries sleeps for seconds first.
        L"core.free.plugins.lib=false",
        L"core.notify.exit.timeout=30",
    };
    if (!iHost.setup.autostart.empty())
    {
        arguments.emplace_back((L"core.autostart.list=" + iHost.setup.autostart).c_str());
    }
    if (iHost.setup.coreLog)
    {
        arguments.emplace_back((L"core.log.file=" + path + L"/core.log").c_str());
        arguments.emplace_back(L"core.log.level=0");
    }
    return arguments;
}
} // namespace

void CoreHost::need(const HostSetup& iSetup)
{
    if (sHost && sHost->setup == iSetup)
    {
        return;
    }
    stop();
    start(iSetup);
}

double CoreHost::start(const HostSetup& iSetup)
{
    sHost = std::make_unique<Host>(iSetup);
    _write(*sHost);
    ::setenv(kInterfacesVariable, std::to_string(iSetup.interfaces).c_str(), 1);
    const std::vector<PString> arguments = _arguments(*sHost);
    Stopwatch watch;
    const int result = ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
    const double seconds = watch.stop();
    if (result != 0)
    {
        _die("The core doesn't start", result);
    }
    return seconds;
}

void CoreHost::stop()
{
    if (!sHost)
    {
        return;
    }
    const int result = ixlaStop();
    if (result != 0)
    {
        _die("The core doesn't stop", result);
    }
    if (!sHost->setup.pluginsDir.empty())
    {
        LibraryCopies::unload(sHost->setup.pluginsDir);
    }
    sHost.reset();
}

std::string CoreHost::directory()
{
    return sHost->dir.path();
}

IBase* CoreHost::service(const wchar_t* iId)
{
    IBase* instance = nullptr;
    const int result = ixlaGetInstance(iId, instance);
    if (result != 0)
    {
        _die("A service is not there", result);
    }
    return instance;
}

std::wstring CoreHost::interfaceId(int iNumber)
{
    return benchInterfaceId(iNumber);
}
