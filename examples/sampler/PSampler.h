// SPDX-License-Identifier: MIT
// PSampler: sends samples of the machine at regular intervals.
#ifndef IXLAL_EXAMPLES_PSAMPLER_H
#define IXLAL_EXAMPLES_PSAMPLER_H

#include "IEventDispatcher.h"
#include "ILogger.h"
#include "PBaseptr.h"
#include "helpers/PService.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

/// Sends an ISample on kSampleTopic every "period" milliseconds (a key of its configuration, 1000
/// by default), on its own thread, until the core sends its exit event.
class PSampler : public PService<IBase>
{
public:
    int onInit() override;
    void onExit() override;

private:
    void readPeriod();
    void run();
    int sendSample();
    bool waitForNext();

    // Constant while the thread runs.
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<ILogger> fLogger;
    std::chrono::milliseconds fPeriod{1000};

    std::thread fThread;
    std::mutex fMutex;
    std::condition_variable fWakeUp;
    bool fStopping = false; ///< guarded by fMutex
};

#endif
