// SPDX-License-Identifier: MIT
// PAlarm: compares every sample with the thresholds of its configuration.
#ifndef IXLAL_EXAMPLES_PALARM_H
#define IXLAL_EXAMPLES_PALARM_H

#include "alarm/PWatchedFigure.h"
#include "helpers/PConfigSubscription.h"
#include "helpers/PService.h"
#include "helpers/PSubscription.h"
#include "shared/IAlarm.h"
#include "shared/ISample.h"

#include <mutex>

/// Writes its own log, "alarm.log", and saves the highest values in the store.
class PAlarm : public PService<IAlarm>
{
public:
    PAlarm();

    int onInit() override;

    int getHighestLoad() const override;
    int getHighestMemory() const override;
    int getEarlierLoad() const override;
    int getEarlierMemory() const override;
    int getAlarmCount() const override;

private:
    int findServices();
    int subscribe();
    void onSample(const ISample& iSample);
    void onConfigChanged(const IConfigChanged& iChange);

    // Constant after onInit has subscribed.
    PBaseptr<IConfigManager> fManager;
    PBaseptr<IConfig> fConfig;
    PBaseptr<ILogger> fLogger;

    std::atomic<int> fAlarms{0};

    /// Guards both figures except for their highest values; held while the services above are
    /// called.
    std::mutex fMutex;
    PWatchedFigure fLoad;
    PWatchedFigure fMemory;

    // Last, so that they end before the members that their listeners use.
    PSubscription fSamples;
    PConfigSubscription fChanges;
};

#endif
