// SPDX-License-Identifier: MIT
// A plugin in several versions, some of which have the flaw that WATCHED_FLAW names. While it is
// loaded, a thread runs its code.

#include "IPlugin.h"
#include "Ixla.h"
#include "support/AwaitedFile.h"
#include "support/PluginService.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>

#ifdef WATCHED_HELPER
extern "C" int watchedHelperVersion();
#endif

namespace
{
constexpr std::string_view sFlaw = WATCHED_FLAW;

void _say(const std::string& iText)
{
    std::puts(iText.c_str());
    std::fflush(stdout);
}

struct Constructor
{
    Constructor() noexcept
    {
        if (sFlaw == "abort in a constructor")
        {
            std::abort();
        }
    }
};
const Constructor sConstructor;

class WatchedPlugin final : public PluginService
{
public:
    WatchedPlugin()
        : PluginService({sFlaw == "other interface" ? L"test.other" : L"test.watched"}),
          fWorker([this] { work(); })
    {
    }

    ~WatchedPlugin() override
    {
        fIsEnding = true;
        fWorker.join();
        if (sFlaw == "slow stop" && fIsInitialised)
        {
            _say("waits in stop");
            awaitFile("go");
        }
    }

    int init() override
    {
        fIsInitialised = true;
#ifdef WATCHED_HELPER
        _say("helper " + std::to_string(watchedHelperVersion()));
#endif
        _say("version " + std::to_string(WATCHED_VERSION));
        if (sFlaw == "slow init")
        {
            _say("waits in init");
            awaitFile("go");
        }
        return sFlaw == "fail in init" ? -7 : eIxlaOk;
    }

private:
    void work()
    {
        while (!fIsEnding)
        {
            ++fRounds;
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    }

    std::atomic<bool> fIsEnding{false};
    std::atomic<unsigned long> fRounds{0};
    bool fIsInitialised = false;
    std::thread fWorker; // last: it uses all members above
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    if (sFlaw == "write to foreign handles")
    {
        for (int handle = STDERR_FILENO + 1; handle < 10; ++handle)
        {
            dprintf(handle, "{\"reason\": 5}\n");
        }
    }
    if (sFlaw == "hang in the factory")
    {
        awaitFile("/nonexistent");
    }
    return new WatchedPlugin;
}
