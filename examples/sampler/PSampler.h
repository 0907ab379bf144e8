// PSampler: looks at the machine at a regular interval and tells whoever listens.
#ifndef IXLAL_EXAMPLES_PSAMPLER_H
#define IXLAL_EXAMPLES_PSAMPLER_H

#include "IEventDispatcher.h"
#include "IEventListener.h"
#include "ILogger.h"
#include "PBaseptr.h"
#include "shared/PCounted.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

/// Sends an ISample on kSampleTopic every "period" milliseconds (key of its configuration, 1000
/// when it is missing), on a thread of its own, from start() until the core announces its exit.
class PSampler : public PCounted<IEventListener>
{
public:
    typedef IEventListener Interface;

    int start();

    /// Ends the thread and lets go of the services.
    void stop();

    /// The core's exit.
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override;

private:
    void readPeriod();
    void run();
    int sendSample();
    bool waitForNext();

    // Constant while the thread runs.
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<ILogger> fLogger;
    std::chrono::milliseconds fPeriod{1000};

    std::mutex fStopMutex; ///< held through stop(), so that every caller finds it done
    std::thread fThread;

    std::mutex fMutex;
    std::condition_variable fWakeUp;
    bool fStopping = false; ///< guarded by fMutex
};

#endif
