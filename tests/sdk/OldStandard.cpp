// SPDX-License-Identifier: MIT
// Uses the helpers in the oldest standard that they support, with a core in the directory that the
// argument names. Ends with 1 after printing what differs.

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "helpers/InOrder.h"
#include "helpers/Log.h"
#include "helpers/PConfigSubscription.h"
#include "helpers/PPlugin.h"
#include "helpers/ReadKeys.h"
#include "helpers/Replace.h"
#include "sdk/TwoInterfaces.h"

#include <cstdio>
#include <string>
#include <vector>

namespace
{
bool sFailed = false;

void _expect(bool iHolds, const char* iWhat)
{
    if (!iHolds)
    {
        sFailed = true;
        std::printf("differs: %s\n", iWhat);
    }
}

class BothPlugin : public PPlugin
{
public:
    BothPlugin()
    {
        offer<PBoth>({kFirstInterfaceId, kSecondInterfaceId});
    }
};

int _start(const std::string& iDirectory)
{
    const std::vector<PString> arguments = {
        ixlaWide("core.plugins.dir=" + iDirectory + "/plugins"),
        ixlaWide("core.plugins.config.dir=" + iDirectory + "/config"),
        ixlaWide("core.plugins.log.dir=" + iDirectory + "/log")};
    return ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
}

void _useSteps()
{
    PBaseptr<IConfigManager> manager;
    PBaseptr<IBase> missing;
    PBaseptr<ILogger> log;
    PConfigSubscription changes;
    int events = 0;
    int size = 7;
    const auto steps = [&]
    {
        return ixlaInOrder(
            manager, ixlaNamedLog(L"own.log", log), ixlaMayUse(L"test.nobody", missing),
            ixlaRead(L"test.id", ixlaKey(L"size", size)),
            ixlaSubscribe(changes, L"test.id", [&](const IConfigChanged&) { ++events; }),
            ixlaStep(L"last", [] { return -42; }));
    };
    const PNamedResult result = steps();
    _expect(result.code() == -42 && result.name() == L"last", "the first failure");
    _expect(ixlaReplace(*manager, L"test.id", L"size", 8) == 0 && events == 1, "replaced once");
    _expect(steps().code() == -42 && size == 8, "the value that was set");
    IXLA_LOG(info, log, 0, "%d and %ls", size, L"wide");
    for (int i = 0; i < 2; ++i)
    {
        IXLA_LOG_ONCE(info, log, 0, "once");
        IXLA_LOG_EVERY(std::chrono::hours(1), info, log, 0, "at most %d", i);
    }
}

void _useInterfaces()
{
    const PBaseptr<IPlugin> plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<BothPlugin>());
    _expect(plugin->init() == 0, "the plugin is initialised");
    IBase* first = nullptr;
    IBase* second = nullptr;
    _expect(plugin->getInstance(kFirstInterfaceId, first) == 0 &&
                static_cast<IFirst*>(first)->first() == 1,
            "the first interface");
    _expect(plugin->getInstance(kSecondInterfaceId, second) == 0 &&
                static_cast<ISecond*>(second)->second() == 2,
            "the second interface");
}
} // namespace

int main(int iCount, char** iArguments)
{
    const int started = iCount == 2 ? _start(iArguments[1]) : eIxlaInvalidArgument;
    if (started != eIxlaOk)
    {
        std::printf("cannot start: %s\n", ixlaResultText(started).c_str());
        return 1;
    }
    _useSteps();
    _useInterfaces();
    _expect(ixlaStop() == eIxlaOk, "the core stops");
    return sFailed ? 1 : 0;
}
