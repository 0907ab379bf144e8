// SPDX-License-Identifier: MIT
// PWatches: what a connection watches.
#ifndef IXLAL_TOOLS_PWATCHES_H
#define IXLAL_TOOLS_PWATCHES_H

#include "IConfigManager.h"
#include "control/PLogTail.h"
#include "control/PNoticeQueue.h"
#include "helpers/PConfigSubscription.h"
#include "helpers/PSubscription.h"

#include <deque>
#include <map>
#include <memory>

/// The watches end when the object is destroyed: no listener runs afterwards. Used by the control
/// thread only; its listeners, which run on any thread, only queue. Every operation that adds a
/// watch throws PRequestError when it fails or there are too many.
class PWatches
{
public:
    static constexpr std::size_t kMost = 64;

    PWatches(const std::shared_ptr<PWakeUp>& iWakeUp, std::size_t iLimit);

    /// Watches changes of a configuration ID, or events of a topic. A second watch of the same name
    /// changes nothing.
    void watchConfig(IConfigManager& ioManager, const PString& iID);
    void watchEvents(const PString& iTopic);

    /// Follows a log file.
    void follow(PLogTail iTail);

    /// Replaces oNotices by what happened since the last call. False when some were lost.
    bool take(std::deque<PNotice>& oNotices);

    /// The configuration of a watched ID; empty for another ID.
    PBaseptr<IConfig> configOf(const PString& iID) const;

    std::deque<PLogTail>& tails() noexcept;

private:
    struct ConfigWatch
    {
        PBaseptr<IConfig> config;
        PConfigSubscription subscription;
    };

    void checkRoom() const;

    const std::shared_ptr<PNoticeQueue> fQueue;
    std::map<PString, ConfigWatch> fConfigs;
    std::map<PString, PSubscription> fTopics;
    std::deque<PLogTail> fTails;
};

#endif
