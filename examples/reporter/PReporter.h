// PReporter: counts what happens and prints a summary when the core stops.
#ifndef IXLAL_EXAMPLES_PREPORTER_H
#define IXLAL_EXAMPLES_PREPORTER_H

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "IEventListener.h"
#include "PBaseptr.h"
#include "shared/IAlarm.h"
#include "shared/PCounted.h"

#include <atomic>
#include <mutex>

/// Asks for the alarm as it starts, so that starting the reporter starts the alarm too.
class PReporter : public PCounted<IEventListener>
{
public:
    typedef IEventListener Interface;

    int start();

    /// Ends the subscriptions and lets go of the services.
    void stop();

    /// Samples, changes of the alarm's configuration, and the core's exit.
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override;

private:
    int subscribe();
    void onEvent(const PLiteral& iTopic);
    void printSummary();

    std::atomic<int> fSamples{0};
    std::atomic<int> fChanges{0};

    std::mutex fMutex; ///< guards the services; never held while one is called
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<IConfigManager> fManager;
    PBaseptr<IAlarm> fAlarm;
};

#endif
