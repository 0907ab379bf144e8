#include "sampler/PSampler.h"

#include "IConfigManager.h"
#include "Ixla.h"
#include "PGuarded.h"
#include "sampler/PMachine.h"
#include "sampler/PSample.h"
#include "shared/ISample.h"
#include "shared/PService.h"

namespace
{
constexpr wchar_t kPeriodKey[] = L"period";
constexpr int kShortestPeriod = 10;
} // namespace

int PSampler::start()
{
    const int result = findService(kIxlaEventDispatcherId, fDispatcher);
    if (result != eIxlaOk)
    {
        return result;
    }
    if (findService(kIxlaLoggerId, fLogger) != eIxlaOk)
    {
        return eIxlaNoInstance;
    }
    readPeriod();
    const int subscribed = fDispatcher->addListener(kIxlaCoreExitTopic, this);
    if (subscribed != eIxlaOk)
    {
        return subscribed;
    }
    fThread = std::thread([this] { run(); });
    return eIxlaOk;
}

// The dispatcher holds this object as its listener, and this object holds the dispatcher: both
// shares are given up here, or neither would ever end.
void PSampler::stop()
{
    const std::lock_guard<std::mutex> stopping(fStopMutex);
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fStopping = true;
    }
    fWakeUp.notify_all();
    if (fThread.joinable())
    {
        fThread.join();
    }
    if (fDispatcher)
    {
        // Not subscribed when the start failed half way, which is as good.
        (void)fDispatcher->removeListener(kIxlaCoreExitTopic, this);
    }
    fDispatcher.clear();
    fLogger.clear();
}

int PSampler::handleEvent(const PLiteral&, IBase*, int)
{
    return ixlaGuarded(
        [this]
        {
            stop();
            return eIxlaOk;
        });
}

void PSampler::readPeriod()
{
    PBaseptr<IConfigManager> manager;
    PBaseptr<IConfig> config;
    int period = 0;
    int result = findService(kIxlaConfigManagerId, manager);
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
    fLogger->info(0, L"[sampler] period: %d ms, read with result: %d",
                  static_cast<int>(fPeriod.count()), result);
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
