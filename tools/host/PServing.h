// SPDX-License-Identifier: MIT
// PServing: what a host does between the start and the stop of a core.
#ifndef IXLAL_TOOLS_PSERVING_H
#define IXLAL_TOOLS_PSERVING_H

#include "host/PHostProcess.h"

#include <chrono>
#include <optional>
#include <string>

/// Waits for a signal or the time limit of the options. A derived class may start the core again.
class PServing
{
public:
    /// ioProcess is borrowed and must outlive the object.
    explicit PServing(PHostProcess& ioProcess);
    virtual ~PServing() = default;

    PServing(const PServing&) = delete;
    PServing& operator=(const PServing&) = delete;

    /// Called when everything is ready, before readiness is reported. Returns the line that reports
    /// it. The time limit begins with the first call.
    virtual std::string begin();

    /// Returns when the core is to stop.
    virtual void wait();

    /// Called once before the core stops. Returns whether the host goes on after that.
    virtual bool goesOn();

protected:
    /// Returns when iDescriptor is readable, a signal has arrived, or the time limit or iPause has
    /// passed. A negative iDescriptor and no iPause count as never.
    void waitFor(int iDescriptor, std::optional<std::chrono::milliseconds> iPause) const;

    /// Whether a signal has arrived or the time limit has passed.
    bool isOver() const;

    PHostProcess& process() const;

private:
    typedef std::chrono::steady_clock Clock;

    PHostProcess& fProcess;
    std::optional<Clock::time_point> fEnd;
};

#endif
