// SPDX-License-Identifier: MIT
#include "sampler/PSampler.h"

#include "IConfigManager.h"
#include "PGuarded.h"
#include "helpers/PPlugin.h"
#include "helpers/PluginInfo.h"
#include "helpers/ResultText.h"
#include "helpers/ServiceLookup.h"
#include "sampler/PMachine.h"
#include "sampler/PSample.h"

namespace
{
constexpr wchar_t kPeriodKey[] = L"period";
constexpr int kShortestPeriod = 10;

class SamplerPlugin : public PPlugin
{
public:
    SamplerPlugin()
    {
        offer<PSampler>(kSamplerId);
    }
};
} // namespace

IXLA_PLUGIN(SamplerPlugin)
IXLA_PLUGIN_INFO(IXLA_INFO_NAME("sampler"), IXLA_INFO_VERSION("1.0.0"),
                 IXLA_INFO_DESCRIPTION("Sends the load and the memory in use at regular times"),
                 IXLA_INFO_AUTHOR("The ixlal authors"), IXLA_INFO_LICENSE("MIT"),
                 IXLA_INFO_OFFERS("com.example.ixla.sampler", "sends samples while it runs"))

int PSampler::onInit()
{
    int result = eIxlaOk;
    fDispatcher = ixlaService<IEventDispatcher>(result);
    if (result == eIxlaOk)
    {
        fLogger = ixlaService<ILogger>(result);
    }
    if (result == eIxlaOk)
    {
        readPeriod();
        fThread = std::thread([this] { run(); });
    }
    return result;
}

void PSampler::onExit()
{
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fStopping = true;
    }
    fWakeUp.notify_all();
    if (fThread.joinable())
    {
        fThread.join();
    }
}

void PSampler::readPeriod()
{
    PBaseptr<IConfig> config;
    int period = 0;
    int result = eIxlaOk;
    const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>(result);
    if (result == eIxlaOk)
    {
        result = manager->loadByID(kSamplerId, config);
    }
    if (result == eIxlaOk)
    {
        result = config->getInt32(kPeriodKey, period);
    }
    if (result == eIxlaOk && period >= kShortestPeriod)
    {
        fPeriod = std::chrono::milliseconds(period);
    }
    fLogger->info(0, L"[sampler] period: %d ms, read with result: %s",
                  static_cast<int>(fPeriod.count()), ixlaResultText(result).c_str());
}

void PSampler::run()
{
    do
    {
        const int result = ixlaGuarded([this] { return sendSample(); });
        if (result != eIxlaOk && result != eIxlaNoListener)
        {
            fLogger->error(0, L"[sampler] no sample sent, result: %d", result);
        }
    } while (waitForNext());
}

int PSampler::sendSample()
{
    int load = 0;
    int memory = 0;
    if (!PMachine::readLoad(load) || !PMachine::readMemory(memory))
    {
        return eIxlaNotFound;
    }
    const auto sample = PBaseptr<ISample>::adopt(new PSample(load, memory));
    return fDispatcher->send(kSampleTopic, sample.get(), 0);
}

bool PSampler::waitForNext()
{
    std::unique_lock<std::mutex> lock(fMutex);
    return !fWakeUp.wait_for(lock, fPeriod, [this] { return fStopping; });
}
