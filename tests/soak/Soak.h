// SPDX-License-Identifier: MIT
// Soak: the core started, used by many threads and stopped, again and again.
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

/// Every cycle has a host's thread of its own. In some cycles the libraries are closed at the stop,
/// in the others they stay mapped. What the process holds is measured after each stop, when all
/// threads of the workers have ended.
class Soak
{
public:
    explicit Soak(const SoakOptions& iOptions);

    /// Works for the time of the options and prints what came of it. True when there was no error
    /// and nothing grew.
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
