// SPDX-License-Identifier: MIT
// A C++11 plugin that uses the helpers of the SDK.

#include "IKeptGreeter.h"

#include "helpers/PConfigSubscription.h"
#include "helpers/PKeyedConfig.h"
#include "helpers/PPlugin.h"
#include "helpers/PluginInfo.h"
#include "portinglayer/PUtils.h"

#include <atomic>

namespace
{
IXLA_CONFIG(KeptConfig, "kept.greeter",
            IXLA_KEY_TEXT(greeting, "greeting", "Hello", "start", "first word"),
            IXLA_KEY_UINT32(size, "size", 5, 1, 10, "m", "run-time", "how large it is"))

class KeptGreeter : public PService<IKeptGreeter>
{
public:
    int onInit() override
    {
        int result = eIxlaOk;
        fLogger = ixlaService<ILogger>(result);
        if (result == eIxlaOk)
        {
            fDispatcher = ixlaService<IEventDispatcher>(result);
        }
        if (result == eIxlaOk)
        {
            result = fConfig.load();
        }
        return result != eIxlaOk
                   ? result
                   : fChanges.subscribe(kKeptGreeterId, [this](const IConfigChanged&) { ++fTold; });
    }

    int greet(PString& oText) override
    {
        const int count = ++fCount;
        IXLA_LOG(info, fLogger, 0, "[greeter] greeting %d", count);
        (void)fDispatcher->send(kKeptTopic, nullptr, count); // no listener is no error
        return ixlaGuarded(
            [&]
            {
                return PUtils::pformatString(oText, L"%ls, size %u, changes %d",
                                             fConfig.greeting.get().ptr(), fConfig.size.get(),
                                             fTold.load());
            });
    }

private:
    // Constant after onInit.
    PBaseptr<ILogger> fLogger;
    PBaseptr<IEventDispatcher> fDispatcher;

    std::atomic<int> fCount{0};
    std::atomic<int> fTold{0};
    // Last, so that they end before the members that their listeners use.
    KeptConfig fConfig;
    PConfigSubscription fChanges;
};

class KeptPlugin : public PPlugin
{
public:
    KeptPlugin()
    {
        offer<KeptGreeter>(kKeptGreeterId);
    }
};
} // namespace

IXLA_PLUGIN(KeptPlugin)
IXLA_PLUGIN_INFO(IXLA_INFO_NAME("kept"), IXLA_INFO_VERSION("1.0.0"),
                 IXLA_INFO_DESCRIPTION("Greets with its configured text"), IXLA_INFO_CORE("3.3.0"),
                 IXLA_INFO_OFFERS("kept.greeter", "makes greetings"))
