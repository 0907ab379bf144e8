// SPDX-License-Identifier: MIT
// Soak: starts the core, uses it from many threads and stops it, again and again.
#ifndef IXLAL_TESTS_SOAK_H
#define IXLAL_TESTS_SOAK_H

#include "soak/Holdings.h"
#include "soak/SoakOptions.h"
#include "soak/Tally.h"
#include "soak/Worker.h"
#include "support/CoreRun.h"

#include <chrono>
#include <memory>
#include <vector>

/// Every cycle has its own host thread. In some cycles the stop closes the libraries, in others
/// they stay mapped. The resources of the process are measured after each stop, when all worker
/// threads have ended.
class Soak
{
public:
    explicit Soak(const SoakOptions& iOptions);

    /// Runs for the time of the options and prints the results. True if there was no error and no
    /// growth.
    bool run();

private:
    typedef std::chrono::steady_clock Clock;

    void addPlugins();
    void cycle();
    bool start(bool iCloses);
    void work();
    void stop(bool iCloses);
    void checkSteps(bool iCloses);
    void leak();
    void progress();
    std::chrono::milliseconds cycleTime() const;
    Tally total() const;
    bool report() const;

    const SoakOptions fOptions;
    const Clock::time_point fBegin;
    CoreRun fCore;
    std::vector<std::unique_ptr<Worker>> fWorkers;
    Tally fOwnTally;
    std::vector<Holdings> fHoldings;
    Clock::time_point fNextProgress;
    std::vector<void*> fLeaked;
};

#endif
