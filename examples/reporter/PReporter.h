// SPDX-License-Identifier: MIT
// PReporter: counts events and prints a summary when the core stops.
#ifndef IXLAL_EXAMPLES_PREPORTER_H
#define IXLAL_EXAMPLES_PREPORTER_H

#include "PBaseptr.h"
#include "helpers/PConfigSubscription.h"
#include "helpers/PService.h"
#include "helpers/PSubscription.h"
#include "shared/IAlarm.h"

#include <atomic>

/// Looks up the alarm in onInit, so that starting the reporter starts the alarm, too.
class PReporter : public PService<IBase>
{
public:
    int onInit() override;
    void onExit() override;

private:
    PBaseptr<IAlarm> fAlarm;
    std::atomic<int> fSamples{0};
    std::atomic<int> fChanges{0};

    // Last, so that they end before the members that their listeners use.
    PSubscription fSampleEvents;
    PConfigSubscription fChangeEvents;
};

#endif
