// PAlarm: compares every sample with the thresholds of its configuration.
#ifndef IXLAL_EXAMPLES_PALARM_H
#define IXLAL_EXAMPLES_PALARM_H

#include "IConfigChanged.h"
#include "IEventDispatcher.h"
#include "IEventListener.h"
#include "alarm/PWatchedFigure.h"
#include "shared/IAlarm.h"
#include "shared/ISample.h"
#include "shared/PCounted.h"

#include <mutex>

/// Writes a log of its own, "alarm.log", and keeps the highest values in the store.
class PAlarm : public PCounted<IAlarm, IEventListener>
{
public:
    typedef IAlarm Interface;

    PAlarm();

    int start();

    /// Ends the subscriptions and lets go of the services.
    void stop();

    int getHighestLoad() const override;
    int getHighestMemory() const override;
    int getEarlierLoad() const override;
    int getEarlierMemory() const override;
    int getAlarmCount() const override;

    /// Samples, changes of its own configuration, and the core's exit.
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override;

private:
    int findServices();
    int subscribe();
    int onEvent(const PLiteral& iTopic, IBase* iParam1);
    void onSample(const ISample& iSample);
    int onConfigChanged(const IConfigChanged& iChange);

    /// Guards everything below but the highest values. Held while the services are called, except
    /// the dispatcher, whose listeners might come back here.
    std::mutex fMutex;
    bool fRunning = false;
    PBaseptr<IConfigManager> fManager;
    PBaseptr<IConfig> fConfig;
    PBaseptr<ILogger> fLogger;
    PBaseptr<IEventDispatcher> fDispatcher;
    std::atomic<int> fAlarms{0};
    PWatchedFigure fLoad;
    PWatchedFigure fMemory;
};

#endif
