// SPDX-License-Identifier: MIT
// PStartStatus: notifies the service manager of what a slow start does.
#ifndef IXLAL_TOOLS_PSTARTSTATUS_H
#define IXLAL_TOOLS_PSTARTSTATUS_H

#include "host/PLogFollower.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// Sends STATUS= with the plugin that is loaded or initialised, when that has lasted a second, and
/// since when. Does nothing without a service manager. Uses the follower on a thread of its own
/// until it is destroyed.
class PStartStatus
{
public:
    /// The arguments are borrowed and must outlive the object.
    PStartStatus(PLogFollower& ioLog, const PPluginTable& iPlugins);
    ~PStartStatus();

    PStartStatus(const PStartStatus&) = delete;
    PStartStatus& operator=(const PStartStatus&) = delete;

    /// Whether any status was sent. [any thread]
    bool hasSent() const;

private:
    void watch();
    void report();
    std::string describe() const;

    PLogFollower& fLog;
    const PPluginTable& fPlugins;
    const std::string fBegin; ///< when the start began
    std::string fSeen;
    std::string fSent;
    std::chrono::steady_clock::time_point fSeenAt;
    mutable std::mutex fMutex;
    std::condition_variable fChanged;
    bool fEnding = false;
    bool fHasSent = false;
    std::thread fThread; // last: it uses all members above
};

#endif
